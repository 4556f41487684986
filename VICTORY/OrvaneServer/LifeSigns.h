#ifndef VICTORY_ORVANESERVER_LIFESIGNS_H
#define VICTORY_ORVANESERVER_LIFESIGNS_H

#include "utilities/ServiceManager.h"
#include "utilities/ThreadPulse.h"

#include <chrono>
#include <cstdint>
#include <ctime>
#include <vector>

/// What the service manager is told while the service runs: that it is ready, once; its state, with the number and the
/// time of its joins, when that has changed, but once a second at the most; and that it is alive, at half of the
/// watchdog's period, but not before each of its threads has turned since it was told so last. What does not go out is
/// told at the next turn.
///
/// One thread, which turns a few times a second; no call waits, and none throws.
class LifeSigns {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr const char* kStarting = "STATUS=Starting";
    static constexpr const char* kStopping = "STOPPING=1\nSTATUS=Stopping";

    /// @param manager   must outlive this
    /// @param threads   must outlive this, too; a thread that rests counts as one that turns
    /// @param watchdog  the longest that the manager waits for a sign of life; 0 for none
    /// @param now       the clock that times are measured by
    /// @param date      the time of the day that joins are told by, as `std::time`
    LifeSigns(const ServiceManager& manager, const std::vector<const ThreadPulse*>& threads,
              std::chrono::microseconds watchdog, Clock::time_point (*now)() = &Clock::now,
              std::time_t (*date)(std::time_t*) = &std::time);

    /// Tells what is due.
    /// @param joins  how many there were until now
    void turn(std::uint32_t joins) noexcept;

private:
    struct Thread {
        const ThreadPulse* pulse;
        std::uint32_t turns;  // when the last sign of life was told

        bool hasTurned() const noexcept
        {
            const std::uint32_t now = pulse->turns();
            return now == ThreadPulse::kAtRest || now != turns;
        }
    };

    void tellState(Clock::time_point now) noexcept;
    void tellAlive(Clock::time_point now) noexcept;

    const ServiceManager& m_manager;
    std::vector<Thread> m_threads;
    const std::chrono::microseconds m_watchdog;
    Clock::time_point (*const m_now)();
    std::time_t (*const m_date)(std::time_t*);
    std::uint32_t m_joins = 0;
    std::time_t m_lastJoin = 0;
    bool m_isReadyTold = false;
    bool m_isStateTold = false;
    Clock::time_point m_toldAt;
    Clock::time_point m_aliveAt;
};

#endif
