#ifndef VICTORY_ORVANESERVER_LIFESIGNS_H
#define VICTORY_ORVANESERVER_LIFESIGNS_H

#include "utilities/ServiceManager.h"

#include <chrono>
#include <cstdint>
#include <ctime>

/// What the service manager is told while the service runs: that it is ready, once; its state, with the number and the
/// time of its joins, when that has changed, but once a second at the most. What does not go out is told at the next
/// turn.
///
/// One thread, which turns a few times a second; no call waits, and none throws.
class LifeSigns {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr const char* kStarting = "STATUS=Starting";
    static constexpr const char* kStopping = "STOPPING=1\nSTATUS=Stopping";

    /// @param manager  must outlive this
    /// @param now      the clock that times are measured by
    /// @param date     the time of the day that joins are told by, as `std::time`
    explicit LifeSigns(const ServiceManager& manager, Clock::time_point (*now)() = &Clock::now,
                       std::time_t (*date)(std::time_t*) = &std::time)
        : m_manager(manager), m_now(now), m_date(date)
    {}

    /// Tells what is due.
    /// @param joins  how many there were until now
    void turn(std::uint32_t joins) noexcept;

private:
    void tellState(Clock::time_point now) noexcept;

    const ServiceManager& m_manager;
    Clock::time_point (*const m_now)();
    std::time_t (*const m_date)(std::time_t*);
    std::uint32_t m_joins = 0;
    std::time_t m_lastJoin = 0;
    bool m_isReadyTold = false;
    bool m_isStateTold = false;
    Clock::time_point m_toldAt;
};

#endif
