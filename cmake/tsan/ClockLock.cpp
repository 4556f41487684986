// Lets the thread sanitizer see mutexes taken with a time limit of the monotonic clock.
//
// libtsan of g++ 12 follows pthread_mutex_timedlock but not pthread_mutex_clocklock, which std::timed_mutex calls, and
// with it the DDS library. It would miss the lock, take the unlock for a mistake, and report as a race all that only
// such a lock orders. Linked into every program of that build, it is found before the C library's.

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <pthread.h>

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

std::int64_t nanoseconds(const timespec& time)
{
    return static_cast<std::int64_t>(time.tv_sec) * kSecond + time.tv_nsec;
}

std::int64_t now(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return nanoseconds(time);
}

}  // namespace

/// Takes a mutex until a moment of a clock (POSIX.1-2024).
/// @return 0, or an error number: `ETIMEDOUT` past the moment, `EINVAL` for an unknown clock
extern "C" __attribute__((weak)) int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t clock,
                                                             const timespec* until) noexcept
{
    if (clock != CLOCK_MONOTONIC && clock != CLOCK_REALTIME) return EINVAL;
    if (until->tv_nsec < 0 || until->tv_nsec >= kSecond) return pthread_mutex_timedlock(mutex, until);
    const std::int64_t left = nanoseconds(*until) - now(clock);
    const std::int64_t end = now(CLOCK_REALTIME) + left;
    timespec realtime{};
    realtime.tv_sec = static_cast<time_t>(end / kSecond);
    realtime.tv_nsec = static_cast<decltype(realtime.tv_nsec)>(end % kSecond);
    return pthread_mutex_timedlock(mutex, &realtime);
}
