#include "VICTORY/OrvaneServer/GpsAvailability.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::int32_t kEnoughMeasurements = 2;

}  // namespace

GpsAvailability::Change GpsAvailability::store(std::int32_t count, bool isLost)
{
    m_counts[m_next] = count;
    m_next = (m_next + 1) % static_cast<std::uint32_t>(m_counts.size());

    const auto enough = std::count_if(m_counts.begin(), m_counts.end(),
                                      [](std::int32_t stored) { return stored >= kEnoughMeasurements; });
    if (enough == 0 && !isLost) return Change::Lost;
    if (enough == std::ssize(m_counts) && isLost) return Change::Back;
    return Change::None;
}
