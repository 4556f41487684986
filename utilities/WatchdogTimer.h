#ifndef UTILITIES_WATCHDOGTIMER_H
#define UTILITIES_WATCHDOGTIMER_H

#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <thread>
#include <utility>

/// Calls a function once unless it is petted or cancelled within a time.
///
///     idle --start--> armed --deadline--> expired: the callback runs, the thread ends
///      ^               | ^
///      '----cancel-----' '-- a pet begins the period anew
///
/// Each arming has a thread of its own, which sleeps until the deadline and runs the callback. `startWatchdog`,
/// `cancelWatchdog` and the destructor are for one thread at a time; `petWatchdog` is for any; the callback may pet and
/// cancel its own timer, but neither start nor destroy it. What the callback throws ends the process. The lock is a
/// leaf: the callback runs without it.
class WatchdogTimer {
public:
    /// Longer times count as this one: 136 years.
    static constexpr std::chrono::seconds kLongestTimeout{4'294'967'295};

    using Clock = std::chrono::steady_clock;

    /// Not armed.
    /// @param now  the clock that times are measured by
    explicit WatchdogTimer(Clock::time_point (*now)() = &Clock::now) : m_now(now) {}

    /// Disarms, and waits for a callback that runs.
    ~WatchdogTimer();

    WatchdogTimer(const WatchdogTimer&) = delete;
    WatchdogTimer& operator=(const WatchdogTimer&) = delete;

    /// Arms the timer, in place of an earlier arming, whose callback doesn't run any more.
    /// @param timeout  of any representation; below a millisecond, zero and negative: expires at once
    /// Throws `std::system_error` if there is no thread to be had, and when the callback calls it: not armed then.
    template <class Duration>
    void startWatchdog(const Duration& timeout, std::function<void()> callback)
    {
        const std::uint64_t timeoutMs = toMilliseconds(timeout);
        start(timeoutMs, std::move(callback));
    }

    /// Begins the period anew, and wakes the thread that waits for its end. Nothing happens to a timer that isn't
    /// armed.
    void petWatchdog() EXCLUDES(m_mutex);

    /// Disarms; nothing happens to a timer that isn't armed. Waits for a callback that runs, so that none does
    /// afterwards; called by the callback itself it returns at once.
    void cancelWatchdog() EXCLUDES(m_mutex);

    /// When a thread that waits for a deadline looks at the clock again: then, or after a day. Seconds since the boot
    /// that don't fit 32 bits are no deadline for the C library of a machine whose `time_t` has as many.
    static Clock::time_point nextLook(Clock::time_point now, Clock::time_point deadline);

private:
    template <class Duration>
    static std::uint64_t toMilliseconds(const Duration& timeout)
    {
        const std::chrono::duration<double> seconds = timeout;  // compared so, no representation overflows
        if (!(seconds.count() > 0.0)) return 0;
        const std::chrono::milliseconds longest = kLongestTimeout;
        const auto limited =
            seconds < kLongestTimeout ? std::chrono::duration_cast<std::chrono::milliseconds>(timeout) : longest;
        return static_cast<std::uint64_t>(limited.count());
    }

    void start(std::uint64_t timeoutMs, std::function<void()> callback) EXCLUDES(m_mutex);
    void timerThread();
    std::function<void()> waitForExpiry() EXCLUDES(m_mutex);
    Clock::time_point deadlineFromNow() const REQUIRES(m_mutex);
    bool isOwnThread() const { return m_thread.get_id() == std::this_thread::get_id(); }

    std::thread m_thread;  // joinable from the arming on, also when expired, until the next start or the end
    bool m_running GUARDED_BY(m_mutex) = false;
    RankedMutex<LockRank::Watchdog> m_mutex;
    std::condition_variable_any m_condition;
    std::uint64_t m_timeoutMs GUARDED_BY(m_mutex) = 0;
    std::function<void()> m_callback GUARDED_BY(m_mutex);
    Clock::time_point m_deadline GUARDED_BY(m_mutex);
    Clock::time_point (*const m_now)();
};

#endif
