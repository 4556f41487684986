#include "lab/ctl/play/Timeline.h"

#include <algorithm>
#include <cstdint>

namespace orvanectl {

namespace {

constexpr double kLongest = 30.0 * 365 * 86400 * 1e9;  // ns, so that nothing overflows

std::chrono::nanoseconds limited(double nanoseconds)
{
    return std::chrono::nanoseconds(static_cast<std::int64_t>(std::clamp(nanoseconds, -kLongest, kLongest)));
}

}  // namespace

Timeline::Timeline(Time now, double rate, bool isPaused) : m_since(now), m_rate(rate), m_isPaused(isPaused) {}

Timeline::Place Timeline::at(Time now) const
{
    if (m_isPaused) return m_from;
    const std::chrono::nanoseconds passed = std::max(now, m_since) - m_since;
    // Exact at the usual rate.
    return m_from + (m_rate == 1.0 ? passed : limited(static_cast<double>(passed.count()) * m_rate));
}

std::optional<Timeline::Time> Timeline::reaches(Place place) const
{
    if (m_isPaused) return std::nullopt;
    const std::chrono::nanoseconds left = place - m_from;
    const auto lasts = limited(static_cast<double>(left.count()) / m_rate);
    return m_since + (m_rate == 1.0 ? std::min(left, limited(kLongest)) : lasts);
}

void Timeline::pause(Time now)
{
    jump(at(now), now);
    m_isPaused = true;
}

void Timeline::resume(Time now)
{
    jump(at(now), now);
    m_isPaused = false;
}

void Timeline::setRate(double rate, Time now)
{
    jump(at(now), now);
    m_rate = rate;
}

void Timeline::jump(Place place, Time now)
{
    m_from = place;
    m_since = std::max(now, m_since);
}

}  // namespace orvanectl
