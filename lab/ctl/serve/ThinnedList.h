#ifndef LAB_CTL_SERVE_THINNEDLIST_H
#define LAB_CTL_SERVE_THINNEDLIST_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace orvanectl {

/// A whole course of values in a bounded list: when it is full every second value goes, and from then on values have to
/// be twice as far apart. The first one and the latest are always there. One thread at a time.
template <class T>
class ThinnedList {
public:
    /// @param most     values that are kept, 4 at the least
    /// @param spacing  s between values that are kept
    ThinnedList(std::size_t most, double spacing) : m_most(std::max<std::size_t>(most, 4)), m_spacing(spacing) {}

    /// @param seconds  must not go back
    void append(double seconds, const T& value)
    {
        // The latest gives way to the next one unless it is far enough from the one before.
        if (m_rows.size() >= 2 && m_rows.back().seconds - m_rows[m_rows.size() - 2].seconds < m_spacing)
            m_rows.pop_back();
        m_rows.push_back({seconds, value});
        if (m_rows.size() > m_most) thin();
    }

    struct Row {
        double seconds;
        T value;
    };
    const std::vector<Row>& rows() const { return m_rows; }

private:
    void thin()
    {
        std::vector<Row> rows;
        for (std::size_t i = 0; i + 1 < m_rows.size(); i += 2) rows.push_back(m_rows[i]);
        rows.push_back(m_rows.back());
        m_rows = std::move(rows);
        m_spacing = std::max(m_spacing * 2, 1e-3);
    }

    std::size_t m_most;
    double m_spacing;
    std::vector<Row> m_rows;
};

}  // namespace orvanectl

#endif
