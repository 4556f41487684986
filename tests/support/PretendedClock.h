#ifndef TESTS_SUPPORT_PRETENDEDCLOCK_H
#define TESTS_SUPPORT_PRETENDEDCLOCK_H

#include "tests/support/ChildProcess.h"

#include <atomic>
#include <chrono>

/// A steady clock that stands still until a test sets it. Any thread may read it.
///
/// Its times are over: a wait until one of them ends at once, so whoever waits by this clock looks at it again and again,
/// and sees the new time without being woken.
struct PretendedClock {
    using Clock = std::chrono::steady_clock;

    static constexpr Clock::time_point kBegin{-std::chrono::hours(10'000)};
    static inline std::atomic<Clock::time_point> s_now = kBegin;
    static inline std::atomic<int> s_looks = 0;

    static Clock::time_point now()
    {
        ++s_looks;
        return s_now;
    }

    static void setElapsed(Clock::duration sinceBegin) { s_now = kBegin + sinceBegin; }

    /// Waits until someone who waits by this clock has seen its time, and has come to look once more.
    static bool isSeenAndWaitedOn()
    {
        const int before = s_looks;
        return eventually([=] { return s_looks >= before + 2; });
    }
};

#endif
