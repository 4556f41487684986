#ifndef LAB_CTL_REPORT_ENDSLIST_H
#define LAB_CTL_REPORT_ENDSLIST_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace orvanectl {

/// The first and the latest of many values; those between are counted. One thread at a time.
template <class T>
class EndsList {
public:
    /// @param most  of either end
    explicit EndsList(std::size_t most) : m_most(most) {}

    void add(T value)
    {
        ++m_count;
        if (m_first.size() < m_most) {
            m_first.push_back(std::move(value));
            return;
        }
        m_latest.push_back(std::move(value));
        if (m_latest.size() > m_most) m_latest.pop_front();
    }

    std::uint64_t count() const { return m_count; }
    std::uint64_t leftOut() const { return m_count - m_first.size() - m_latest.size(); }

    /// In their order.
    std::vector<T> values() const
    {
        std::vector<T> all = m_first;
        all.insert(all.end(), m_latest.begin(), m_latest.end());
        return all;
    }

private:
    std::size_t m_most;
    std::uint64_t m_count = 0;
    std::vector<T> m_first;
    std::deque<T> m_latest;
};

}  // namespace orvanectl

#endif
