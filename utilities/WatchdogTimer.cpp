#include "utilities/WatchdogTimer.h"

#include <algorithm>
#include <system_error>

WatchdogTimer::~WatchdogTimer()
{
    cancelWatchdog();
}

void WatchdogTimer::start(std::uint64_t timeoutMs, std::function<void()> callback)
{
    if (isOwnThread())
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur), "startWatchdog");
    cancelWatchdog();
    const MutexLock lock(m_mutex);
    m_thread = std::thread(&WatchdogTimer::timerThread, this);  // finds the rest set, behind the lock
    m_running = true;
    m_timeoutMs = timeoutMs;
    m_deadline = deadlineFromNow();
    m_callback.swap(callback);
}

void WatchdogTimer::petWatchdog()
{
    const MutexLock lock(m_mutex);
    if (!m_running) return;
    m_deadline = deadlineFromNow();
    m_condition.notify_all();
}

void WatchdogTimer::cancelWatchdog()
{
    {
        const MutexLock lock(m_mutex);
        m_running = false;
        m_timeoutMs = 0;
        if (isOwnThread()) return;  // no thread can join itself
        m_condition.notify_all();
    }
    if (m_thread.joinable()) m_thread.join();
}

void WatchdogTimer::timerThread()
{
    if (const std::function<void()> callback = waitForExpiry()) callback();
}

std::function<void()> WatchdogTimer::waitForExpiry()
{
    const MutexLock lock(m_mutex);
    for (Clock::time_point now = m_now(); m_running && now < m_deadline; now = m_now())
        m_condition.wait_until(m_mutex, nextLook(now, m_deadline));
    m_timeoutMs = 0;
    return std::exchange(m_running, false) ? std::move(m_callback) : nullptr;
}

WatchdogTimer::Clock::time_point WatchdogTimer::nextLook(Clock::time_point now, Clock::time_point deadline)
{
    constexpr std::chrono::hours kLongestWait{24};
    return std::min(deadline, now + kLongestWait);
}

WatchdogTimer::Clock::time_point WatchdogTimer::deadlineFromNow() const
{
    const Clock::time_point now = m_now();
    const std::chrono::milliseconds timeout(m_timeoutMs);
    return now < Clock::time_point::max() - timeout ? now + timeout : Clock::time_point::max();
}
