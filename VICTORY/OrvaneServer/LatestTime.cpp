#include "VICTORY/OrvaneServer/LatestTime.h"

#include "VICTORY/OrvaneServer/BlendedNavigation.h"

void LatestTime::store(const aspn2_msgs::idl::UTCTime& message)
{
    const MutexLock lock(m_timeMutex);
    m_gpsSeconds = BlendedNavigation::gpsSeconds(message);
    m_latestTime = message;
}

double LatestTime::gpsSeconds() const
{
    const MutexLock lock(m_timeMutex);
    return m_gpsSeconds;
}

VapntcTime LatestTime::victoryTime(bool print) const
{
    VapntcTime time = {};
    read([&](const auto& message) { BlendedNavigation::set_VictoryTime(time, message, print); });
    return time;
}
