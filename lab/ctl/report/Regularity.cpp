#include "lab/ctl/report/Regularity.h"

#include "lab/ctl/report/Course.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace orvanectl {

namespace {

constexpr std::size_t kIntervals = 15;
constexpr std::size_t kFewest = 3;  // of which there is a usual one

}  // namespace

bool Regularity::Gap::operator<(const Gap& other) const
{
    return std::make_tuple(to - from, from) < std::make_tuple(other.to - other.from, other.from);
}

double Regularity::usual() const
{
    std::vector<double> sorted(m_intervals.begin(), m_intervals.end());
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return *middle;
}

void Regularity::take(double seconds)
{
    if (m_count++ == 0) {
        m_first = m_last = seconds;
        return;
    }
    const double interval = seconds - m_last;
    if (m_intervals.size() >= kFewest && interval > 1.5 * usual() + 0.25) {
        ++m_gapCount;
        m_gapSeconds += interval;
        m_gaps.insert({m_last, seconds});
        if (m_gaps.size() > kMostGaps) m_gaps.erase(m_gaps.begin());
    }
    m_intervals.push_back(interval);
    if (m_intervals.size() > kIntervals) m_intervals.pop_front();
    m_last = seconds;
}

Json Regularity::json() const
{
    std::vector<Gap> inOrder(m_gaps.begin(), m_gaps.end());
    std::ranges::sort(inOrder, {}, &Gap::from);
    Json gaps = Json::array();
    for (const Gap& gap : inOrder) gaps.push_back({roundedTo(gap.from, 0.001), roundedTo(gap.to, 0.001)});
    const bool hasUsual = m_intervals.size() >= kFewest;
    return {{"count", m_count},
            {"from", m_count == 0 ? Json() : roundedTo(m_first, 0.001)},
            {"to", m_count == 0 ? Json() : roundedTo(m_last, 0.001)},
            {"interval", hasUsual ? roundedTo(usual(), 0.001) : Json()},
            {"gapCount", m_gapCount},
            {"gapSeconds", roundedTo(m_gapSeconds, 0.001)},
            {"longestGap", m_gaps.empty() ? Json(0) : roundedTo(m_gaps.rbegin()->to - m_gaps.rbegin()->from, 0.001)},
            {"gaps", gaps}};
}

}  // namespace orvanectl
