#include "lab/libvictory/TellHolds.h"

namespace labvictory {

void TellHolds::hold(const std::string& tell, std::chrono::milliseconds duration)
{
    const MutexLock lock(m_mutex);
    m_holds[tell].duration = duration;
}

void TellHolds::release(const std::string& tell)
{
    const MutexLock lock(m_mutex);
    for (auto& [name, hold] : m_holds) {
        if (!tell.empty() && name != tell) continue;
        hold.duration = {};
        ++hold.releases;
    }
    m_released.notify_all();
}

std::chrono::milliseconds TellHolds::durationOf(const std::string& tell)
{
    const MutexLock lock(m_mutex);
    const auto found = m_holds.find(tell);
    return found == m_holds.end() ? std::chrono::milliseconds(0) : found->second.duration;
}

void TellHolds::wait(const std::string& tell)
{
    const MutexLock lock(m_mutex);
    const auto found = m_holds.find(tell);
    if (found == m_holds.end()) return;
    const Hold& hold = found->second;  // a map keeps its elements where they are
    const auto until = std::chrono::steady_clock::now() + hold.duration;
    const unsigned releases = hold.releases;
    while (hold.releases == releases && std::chrono::steady_clock::now() < until) m_released.wait_until(m_mutex, until);
}

}  // namespace labvictory
