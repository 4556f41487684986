#ifndef UTILITIES_SLEEPFULLY_H
#define UTILITIES_SLEEPFULLY_H

#include <cerrno>
#include <chrono>
#include <ctime>

/// Sleeps for the whole of `duration`: a sleep that a signal interrupts is resumed for the time that remains. Nothing
/// for a duration of 0 or less.
inline void sleepFully(std::chrono::milliseconds duration)
{
    if (duration.count() <= 0) return;
    timespec remaining{};
    remaining.tv_sec = static_cast<std::time_t>(duration.count() / 1000);
    remaining.tv_nsec = static_cast<decltype(remaining.tv_nsec)>(duration.count() % 1000 * 1'000'000);
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

#endif
