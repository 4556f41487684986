#ifndef UTILITIES_CLOCKOSREALTIME_H
#define UTILITIES_CLOCKOSREALTIME_H

#include <ctime>

/// Time since a start, in seconds. In spite of the name it reads `CLOCK_MONOTONIC`, so that setting the system's time
/// doesn't touch it. Reading is safe from any thread; starting anew is not, while others read.
class ClockOSRealtime {
public:
    /// Starts now.
    ClockOSRealtime();

    /// Makes now the start.
    void StartDoubleTimingFromNow();

    /// Seconds since the start.
    double GetCurrentTimeTag() const;

    /// As `GetCurrentTimeTag`; `now`, unless null, receives the clock's own reading.
    double GetCurrentTimeTagEx(timespec* now) const;

    /// Seconds plus nanoseconds / 1e9.
    static double timespecAsDouble(timespec time);

    /// A check to look at on the console: a line for every reading, time tag, seconds and nanoseconds, up to and
    /// including the first of the clock's next second. Lasts up to one second.
    void test_time() const;

private:
    timespec m_start = {};
    double m_startSeconds = 0.0;
};

#endif
