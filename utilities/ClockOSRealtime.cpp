#include "utilities/ClockOSRealtime.h"

#include <cstdio>
#include <iostream>

namespace {

timespec readClock()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

}  // namespace

ClockOSRealtime::ClockOSRealtime()
{
    StartDoubleTimingFromNow();
}

void ClockOSRealtime::StartDoubleTimingFromNow()
{
    m_start = readClock();
    m_startSeconds = timespecAsDouble(m_start);
}

double ClockOSRealtime::GetCurrentTimeTag() const
{
    return GetCurrentTimeTagEx(nullptr);
}

double ClockOSRealtime::GetCurrentTimeTagEx(timespec* now) const
{
    const timespec reading = readClock();
    if (now) *now = reading;
    return timespecAsDouble(reading) - m_startSeconds;
}

double ClockOSRealtime::timespecAsDouble(timespec time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void ClockOSRealtime::test_time() const
{
    std::cout << "Print out time hacks over a second rollover and make sure the diff\n";
    std::cout << "values are calculated correctly.\n";
    const timespec first = readClock();
    timespec now = first;
    while (now.tv_sec == first.tv_sec) {
        const double tag = GetCurrentTimeTagEx(&now);
        char line[400];  // more than the longest double takes
        std::snprintf(line, sizeof line, "now= ,%20.9f,%12ld,%12ld\n", tag, static_cast<long>(now.tv_sec),
                      static_cast<long>(now.tv_nsec));
        std::cout << line;
    }
    std::cout << std::flush;
}
