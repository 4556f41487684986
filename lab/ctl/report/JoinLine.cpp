#include "lab/ctl/report/JoinLine.h"

#include "VICTORY/OrvaneServer/BlendedNavigation.h"
#include "lab/ctl/why/BusEntries.h"
#include "lab/ctl/why/BusText.h"
#include "lab/ctl/why/JoinEntries.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace orvanectl {

using namespace aspn2_msgs::idl;

namespace {

using Time = JoinDiary::Time;

Time::duration lengthOf(double seconds)
{
    constexpr double kLongest = 4e9;  // s, so that others can be added to it
    return std::chrono::duration_cast<Time::duration>(
        std::chrono::duration<double>(std::clamp(seconds, 0.0, kLongest)));
}

}  // namespace

double JoinLine::secondsNow() const
{
    return std::chrono::duration<double>(m_clock.now() - m_start).count();
}

void JoinLine::passUntil(double seconds)
{
    m_clock.passUntil(m_start + lengthOf(seconds), [this] { show(m_diary.takeDecided(m_clock.now())); });
}

void JoinLine::take(std::size_t input, const void* record)
{
    if (static_cast<JoinInput>(input) == JoinInput::UtcTime) noteTime(*static_cast<const UTCTime*>(record));
    enterRecord(m_diary, input, record, m_clock.now());
}

void JoinLine::noteTime(const UTCTime& message)
{
    m_times.emplace_back(BlendedNavigation::gpsSeconds(message), secondsNow());
    if (m_times.size() > kMostTimes) m_times.pop_front();
}

/// What became of an epoch is known later. One of which no time message tells counts as when it was missed.
double JoinLine::arrivalOf(const Epoch& epoch) const
{
    for (const auto& [gpsSeconds, arrived] : m_times)
        if (std::abs(gpsSeconds - epoch.gpsSeconds) < 1e-6) return arrived;
    return secondsNow();
}

void JoinLine::takeBusLine(const Json& line)
{
    enterBusLine(m_diary, line, m_clock.now());
}

void JoinLine::end()
{
    show(m_diary.end(m_clock.now()));
}

void JoinLine::show(const std::vector<Epoch>& epochs)
{
    for (const Epoch& epoch : epochs) {
        m_sum.add(epoch);
        if (epoch.leftOut > 0) continue;
        const double seconds = arrivalOf(epoch);
        m_course.append(seconds, epoch.isJoined ? 1 : 0);
        if (epoch.isJoined) continue;
        std::string causes;
        for (const MissCause& cause : epoch.causes) causes += (causes.empty() ? "" : ", ") + cause.text();
        m_misses.add({seconds, epoch.gpsSeconds, causes});
    }
}

Json JoinLine::json() const
{
    Json causes = Json::array(), misses = Json::array();
    for (const auto& [cause, times] : m_sum.causes()) causes.push_back({{"cause", cause}, {"times", times}});
    for (const Miss& miss : m_misses.values())
        misses.push_back({roundedTo(miss.seconds, 0.001), roundedTo(miss.gpsSeconds, 0.001), miss.causes});
    const auto epochs = static_cast<double>(m_sum.epochs());
    return {{"epochs", m_sum.epochs()},
            {"joined", m_sum.joined()},
            {"leftOut", m_sum.leftOut()},
            {"rate", epochs > 0 ? roundedTo(static_cast<double>(m_sum.joined()) / epochs, 0.0001) : Json()},
            {"text", m_sum.text()},
            {"causes", causes},
            {"missesLeftOut", m_misses.leftOut()},
            {"misses", misses},
            {"course", m_course.json(0.001)}};
}

}  // namespace orvanectl
