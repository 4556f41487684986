#ifndef ASPN_EVENTQUEUE_H
#define ASPN_EVENTQUEUE_H

#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace ASPN2 {

/// Events that wait to be published. Plain events are bounded: what arrives at a full queue is lost. Configuration
/// events are not, and come again for ever, one repeat period after they were last taken, so that a late listener
/// gets them too. Any thread may call. The lock is a leaf: nothing is called under it but the clock.
class EventQueue {
public:
    using Clock = std::chrono::steady_clock;

    /// @param limit         plain events are accepted while fewer items than this wait, of either kind
    /// @param configType    the type under which configuration events are given out
    /// @param repeatPeriod  from taking a configuration event to its being queued again
    /// @param now           the clock that repeats go by
    EventQueue(std::uint32_t limit, std::int32_t configType, std::chrono::nanoseconds repeatPeriod,
               Clock::time_point (*now)() = &Clock::now);

    /// Queues a plain event; false, and the event is lost, if the queue is full.
    bool push_back(std::int32_t type, const std::string& text) EXCLUDES(m_mutex);

    /// Queues a configuration event, full or not, and gives the hash that identifies it. The same text given twice
    /// repeats twice.
    std::size_t push_back_config(const std::string& text) EXCLUDES(m_mutex);

    /// As above, and the configuration event of `oldHash` is dropped, where it is known.
    std::size_t push_back_config(const std::string& text, std::size_t oldHash) EXCLUDES(m_mutex);

    /// Takes the oldest event, waiting up to `timeout` for one. False, and both outputs as they were, if none came.
    bool pop_front(std::int32_t& type, std::string& text, std::chrono::nanoseconds timeout) EXCLUDES(m_mutex);

    /// Whether `pop_front` waits, as it does at first. False ends the waits at hand.
    void letWait(bool mayWait) EXCLUDES(m_mutex);

    /// The number of queued items of both kinds; configuration events that wait for their repeat do not count.
    std::size_t size() const EXCLUDES(m_mutex);

private:
    struct EventItem {
        bool isConfig;
        std::int32_t type;
        std::string text;
        std::size_t hash;  // of a configuration event's text; 0 for a plain event
    };
    struct ConfigItem {
        std::string text;
        std::size_t hash;
        Clock::time_point nextTime;
    };

    std::size_t appendConfig(const std::string& text) REQUIRES(m_mutex);
    void repeatConfigs() REQUIRES(m_mutex);
    void eraseConfig(std::size_t hash) REQUIRES(m_mutex);

    const std::uint32_t m_limit;
    const std::int32_t m_configType;
    const std::chrono::nanoseconds m_repeatPeriod;
    Clock::time_point (*const m_now)();
    mutable RankedMutex<LockRank::Events> m_mutex;
    std::condition_variable_any m_changed;
    bool m_mayWait GUARDED_BY(m_mutex) = true;
    std::deque<EventItem> m_events GUARDED_BY(m_mutex);
    std::deque<ConfigItem> m_configs GUARDED_BY(m_mutex);  // in the order of their next times: one period for all
};

}  // namespace ASPN2

#endif
