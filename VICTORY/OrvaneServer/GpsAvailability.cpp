#include "VICTORY/OrvaneServer/GpsAvailability.h"

#include "VICTORY/libvictory/victory.h"
#include "utilities/Saturate.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::int32_t kEnoughMeasurements = 2;

/// The GPS measurements of a message.
std::int32_t countOf(const aspn2_msgs::idl::MeasurementIncorporationStatus& message)
{
    std::int64_t sum = 0;
    for (const auto& entry : message.meas_types())
        if (entry.meas_set_id() == 1 || entry.meas_set_id() == 2) sum += entry.meas_avail();
    return saturate<std::int32_t>(static_cast<double>(sum));
}

}  // namespace

void GpsAvailability::storeGpsAvailability(const aspn2_msgs::idl::MeasurementIncorporationStatus& message,
                                           const std::function<void(std::uint32_t id)>& warn)
{
    switch (store(countOf(message), m_gpsLost)) {
    case Change::None:
        break;
    case Change::Lost:
        warn(VAPNTC_WARNING_GPS_MEASUREMENTS_LOST);
        m_gpsLost = true;
        break;
    case Change::Back:
        warn(VAPNTC_WARNING_GPS_MEASUREMENTS_BACK);
        m_gpsLost = false;
        break;
    }
}

GpsAvailability::Change GpsAvailability::store(std::int32_t count, bool isLost)
{
    m_gpsAvailRing[m_next] = count;
    m_next = (m_next + 1) % static_cast<std::uint32_t>(m_gpsAvailRing.size());

    const auto enough = std::count_if(m_gpsAvailRing.begin(), m_gpsAvailRing.end(),
                                      [](std::int32_t stored) { return stored >= kEnoughMeasurements; });
    if (enough == 0 && !isLost) return Change::Lost;
    if (enough == std::ssize(m_gpsAvailRing) && isLost) return Change::Back;
    return Change::None;
}
