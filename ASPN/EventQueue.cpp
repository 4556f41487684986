#include "ASPN/EventQueue.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ASPN2 {

namespace {

/// The steady clock's reading `timeout` from now, or its last one where that lies beyond.
EventQueue::Clock::time_point deadlineAfter(std::chrono::nanoseconds timeout)
{
    using Clock = EventQueue::Clock;
    const Clock::time_point now = Clock::now();
    return timeout < Clock::time_point::max() - now ? now + timeout : Clock::time_point::max();
}

}  // namespace

EventQueue::EventQueue(std::uint32_t limit, std::int32_t configType, std::chrono::nanoseconds repeatPeriod,
                       Clock::time_point (*now)())
    : m_limit(limit), m_configType(configType), m_repeatPeriod(repeatPeriod), m_now(now)
{}

bool EventQueue::push_back(std::int32_t type, const std::string& text)
{
    const MutexLock lock(m_mutex);
    if (m_events.size() >= m_limit) return false;
    m_events.push_back({false, type, text, 0});
    m_changed.notify_one();
    return true;
}

std::size_t EventQueue::push_back_config(const std::string& text)
{
    const MutexLock lock(m_mutex);
    return appendConfig(text);
}

std::size_t EventQueue::push_back_config(const std::string& text, std::size_t oldHash)
{
    const MutexLock lock(m_mutex);
    eraseConfig(oldHash);
    return appendConfig(text);
}

std::size_t EventQueue::appendConfig(const std::string& text)
{
    const std::size_t hash = std::hash<std::string>{}(text);
    m_events.push_back({true, m_configType, text, hash});
    m_changed.notify_one();
    return hash;
}

bool EventQueue::pop_front(std::int32_t& type, std::string& text, std::chrono::nanoseconds timeout)
{
    const MutexLock lock(m_mutex);
    repeatConfigs();
    const Clock::time_point deadline = deadlineAfter(timeout);
    while (m_events.empty() && m_mayWait)
        if (m_changed.wait_until(m_mutex, deadline) == std::cv_status::timeout) break;
    if (m_events.empty()) return false;

    EventItem& item = m_events.front();
    if (item.isConfig) m_configs.push_back({item.text, item.hash, m_now() + m_repeatPeriod});
    type = item.type;
    text = std::move(item.text);
    m_events.pop_front();  // last, so that nothing is lost if memory runs out
    return true;
}

void EventQueue::letWait(bool mayWait)
{
    const MutexLock lock(m_mutex);
    m_mayWait = mayWait;
    m_changed.notify_all();
}

std::size_t EventQueue::size() const
{
    const MutexLock lock(m_mutex);
    return m_events.size();
}

void EventQueue::repeatConfigs()
{
    const Clock::time_point now = m_now();
    while (!m_configs.empty() && m_configs.front().nextTime <= now) {
        const ConfigItem& due = m_configs.front();
        m_events.push_back({true, m_configType, due.text, due.hash});
        m_configs.pop_front();
    }
}

void EventQueue::eraseConfig(std::size_t hash)
{
    const auto event =
        std::ranges::find_if(m_events, [hash](const EventItem& item) { return item.isConfig && item.hash == hash; });
    if (event != m_events.end()) m_events.erase(event);
    const auto config = std::ranges::find(m_configs, hash, &ConfigItem::hash);
    if (config != m_configs.end()) m_configs.erase(config);
}

}  // namespace ASPN2
