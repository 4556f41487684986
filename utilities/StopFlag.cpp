#include "utilities/StopFlag.h"

void StopFlag::set()
{
    const MutexLock lock(m_mutex);
    m_isSet = true;
    m_changed.notify_all();
}

void StopFlag::clear()
{
    const MutexLock lock(m_mutex);
    m_isSet = false;
}

void StopFlag::pauseFor(std::chrono::milliseconds duration)
{
    const auto end = std::chrono::steady_clock::now() + duration;
    const MutexLock lock(m_mutex);
    while (!m_isSet)
        if (m_changed.wait_until(m_mutex, end) == std::cv_status::timeout) return;
}
