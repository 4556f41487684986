#include "fuzz/PretendedTime.h"
#include "fuzz/Fuzz.h"
#include "utilities/WatchdogTimer.h"

#include <cerrno>
#include <map>
#include <pthread.h>
#include <utility>

namespace fuzz::PretendedTime {

namespace {

struct Alarm {
    Clock::time_point due;
    std::function<void()> ring;
};

Clock::time_point s_now;
std::time_t s_seconds = 0;
Clock::duration s_sinceSecond{0};
std::map<const void*, Alarm> s_alarms;  // by the timer
std::function<Wake(Clock::time_point)> s_action;

void moveTo(Clock::time_point time)
{
    s_sinceSecond += time - s_now;
    s_now = time;
    const auto whole = std::chrono::floor<std::chrono::seconds>(s_sinceSecond);
    s_seconds += static_cast<std::time_t>(whole.count());
    s_sinceSecond -= whole;
}

/// The first that is due until then.
std::map<const void*, Alarm>::iterator firstDue(Clock::time_point until)
{
    auto first = s_alarms.end();
    for (auto alarm = s_alarms.begin(); alarm != s_alarms.end(); ++alarm)
        if (alarm->second.due <= until && (first == s_alarms.end() || alarm->second.due < first->second.due))
            first = alarm;
    return first;
}

}  // namespace

void begin(std::time_t seconds)
{
    s_now = Clock::time_point(std::chrono::hours(1));
    s_seconds = seconds;
    s_sinceSecond = {};
    s_alarms.clear();
    s_action = nullptr;
}

Clock::time_point now()
{
    return s_now;
}

std::time_t seconds()
{
    return s_seconds;
}

Clock::duration sinceEpoch()
{
    return std::chrono::seconds(s_seconds) + s_sinceSecond;
}

void pass(Clock::duration duration)
{
    const auto end = s_now + duration;
    for (auto due = firstDue(end); due != s_alarms.end(); due = firstDue(end)) {
        const Alarm alarm = std::move(due->second);
        s_alarms.erase(due);
        if (alarm.due > s_now) moveTo(alarm.due);
        alarm.ring();
    }
    moveTo(end);
}

void step(std::time_t seconds)
{
    s_seconds += seconds;
}

void onWait(std::function<Wake(Clock::time_point)> action)
{
    s_action = std::move(action);
}

}  // namespace fuzz::PretendedTime

using fuzz::PretendedTime::Wake;

// In place of the machine's, by the linker.
fuzz::PretendedTime::Clock::time_point steadyNow() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");
std::time_t wallTime(std::time_t* seconds) __asm__("__wrap_time");
int waitFor(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
            const timespec* until) __asm__("__wrap_pthread_cond_clockwait");

fuzz::PretendedTime::Clock::time_point steadyNow()
{
    return fuzz::PretendedTime::s_now;
}

std::time_t wallTime(std::time_t* seconds)
{
    if (seconds) *seconds = fuzz::PretendedTime::s_seconds;
    return fuzz::PretendedTime::s_seconds;
}

int waitFor(pthread_cond_t*, pthread_mutex_t* mutex, clockid_t clock, const timespec* until)
{
    FUZZ_EXPECT(clock == CLOCK_MONOTONIC && fuzz::PretendedTime::s_action);
    const fuzz::PretendedTime::Clock::time_point limit(std::chrono::seconds(until->tv_sec) +
                                                       std::chrono::nanoseconds(until->tv_nsec));
    pthread_mutex_unlock(mutex);
    const Wake wake = fuzz::PretendedTime::s_action(limit);
    pthread_mutex_lock(mutex);
    FUZZ_EXPECT((wake == Wake::TimeIsUp) == (fuzz::PretendedTime::s_now >= limit));
    return wake == Wake::TimeIsUp ? ETIMEDOUT : 0;
}

// A timer without a thread.

WatchdogTimer::~WatchdogTimer()
{
    cancelWatchdog();
}

void WatchdogTimer::start(std::uint64_t timeoutMs, std::function<void()> callback)
{
    const auto due = fuzz::PretendedTime::now() + std::chrono::milliseconds(timeoutMs);
    fuzz::PretendedTime::s_alarms[this] = {due, std::move(callback)};
}

void WatchdogTimer::cancelWatchdog()
{
    fuzz::PretendedTime::s_alarms.erase(this);
}
