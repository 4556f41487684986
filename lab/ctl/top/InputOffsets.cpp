#include "lab/ctl/top/InputOffsets.h"

#include "ASPN/AspnHelper.h"

#include <algorithm>
#include <chrono>

namespace orvanectl {

void InputOffsets::takeTime(const aspn2_msgs::idl::header& header, Time arrival)
{
    m_times.push_back({header, arrival});
    if (m_times.size() > kMostTimes) m_times.pop_front();
}

void InputOffsets::take(std::size_t input, const aspn2_msgs::idl::header& header, Time arrival)
{
    m_inputs[input] = {header, arrival};
}

std::optional<double> InputOffsets::of(std::size_t input) const
{
    const auto found = m_inputs.find(input);
    if (found == m_inputs.end() || m_times.empty()) return std::nullopt;
    const Came& came = found->second;
    const auto apart = [&](const Came& time) { return std::chrono::abs(time.arrival - came.arrival); };
    const Came& nearest = *std::ranges::min_element(m_times, {}, apart);
    return ASPN2::deltaTov(came.header, nearest.header);
}

}  // namespace orvanectl
