#ifndef LAB_CTL_REPORT_REGULARITY_H
#define LAB_CTL_REPORT_REGULARITY_H

#include "lab/ctl/FrameDecoder.h"

#include <cstdint>
#include <deque>
#include <set>

namespace orvanectl {

/// What is told again and again, and where it was not: a pause of more than one and a half of its usual intervals and a
/// quarter of a second is a gap. Usual is the median of the latest. One thread at a time.
class Regularity {
public:
    struct Gap {
        double from;  ///< s, when it was told last
        double to;    ///< s, when it was told again
        /// The shortest stands first.
        bool operator<(const Gap& other) const;
    };

    /// Gaps that are kept, the longest ones.
    static constexpr std::size_t kMostGaps = 300;

    /// @param seconds  since the start; must not go back
    void take(double seconds);

    std::uint64_t count() const { return m_count; }
    std::uint64_t gapCount() const { return m_gapCount; }
    double gapSeconds() const { return m_gapSeconds; }
    const std::set<Gap>& gaps() const { return m_gaps; }

    /// `count`, `from`, `to`, `interval` (the latest usual one, or null), `gapCount`, `gapSeconds`, `longestGap` and
    /// `gaps`, in their order, each as [from, to].
    Json json() const;

private:
    double usual() const;

    std::uint64_t m_count = 0;
    double m_first = 0;
    double m_last = 0;
    std::deque<double> m_intervals;
    std::uint64_t m_gapCount = 0;
    double m_gapSeconds = 0;
    std::set<Gap> m_gaps;
};

}  // namespace orvanectl

#endif
