#include "lab/ctl/report/Latencies.h"

#include "VICTORY/OrvaneServer/BlendedNavigation.h"

#include <algorithm>
#include <cmath>

namespace orvanectl {

namespace {

double secondsOf(const aspn2_msgs::idl::timestamp& time)
{
    return static_cast<double>(time.sec()) + static_cast<double>(time.nsec()) * 1e-9;
}

}  // namespace

void Latencies::takeTime(const aspn2_msgs::idl::UTCTime& message, double arrived)
{
    const double gpsSeconds = BlendedNavigation::gpsSeconds(message);
    if (!std::isfinite(gpsSeconds)) return;
    m_times.push_back({gpsSeconds, secondsOf(message.header().timestamp_valid()), arrived});
    if (m_times.size() > kMost) m_times.pop_front();
}

void Latencies::take(const aspn2_msgs::idl::header& header, double arrived)
{
    m_arrivals.push_back({secondsOf(header.timestamp_valid()), arrived});
    if (m_arrivals.size() > kMost) m_arrivals.pop_front();
}

/// Half of the time between two time messages: what is farther away belongs to another one.
double Latencies::tolerance() const
{
    if (m_times.size() < 2) return 0.5;
    return std::clamp(std::abs(m_times.back().valid - m_times[m_times.size() - 2].valid) / 2, 0.001, 0.5);
}

void Latencies::tell(double gpsSeconds, double told)
{
    const auto distance = [&](const TimeMessage& time) { return std::abs(time.gpsSeconds - gpsSeconds); };
    const auto time = std::ranges::min_element(m_times, {}, distance);
    if (time == m_times.end() || distance(*time) > tolerance() || time->arrived > told) return;
    m_fromTime.add(told - time->arrived, told);
    double last = time->arrived;
    for (const Arrival& arrival : m_arrivals)
        if (arrival.arrived <= told && std::abs(arrival.valid - time->valid) <= tolerance())
            last = std::max(last, arrival.arrived);
    m_fromLast.add(told - last, told);
}

void Latencies::Latency::add(double seconds, double told)
{
    spread.add(seconds * 1000);
    course.append(told, seconds * 1000);
}

Json Latencies::Latency::json() const
{
    return {{"spread", spread.json(0.001)}, {"course", course.json(0.001)}};
}

Json Latencies::json() const
{
    return {{"fromTime", m_fromTime.json()}, {"fromLast", m_fromLast.json()}};
}

}  // namespace orvanectl
