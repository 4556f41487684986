#include "VICTORY/OrvaneServer/LifeSigns.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr std::chrono::seconds kBetweenStates{1};

}  // namespace

LifeSigns::LifeSigns(const ServiceManager& manager, const std::vector<const ThreadPulse*>& threads,
                     std::chrono::microseconds watchdog, Clock::time_point (*now)(), std::time_t (*date)(std::time_t*))
    : m_manager(manager), m_watchdog(watchdog), m_now(now), m_date(date), m_aliveAt(now())
{
    for (const ThreadPulse* pulse : threads) m_threads.push_back({pulse, pulse->turns()});
}

void LifeSigns::turn(std::uint32_t joins) noexcept
{
    if (!m_manager.wantsToBeTold()) return;
    if (joins != m_joins) {
        m_joins = joins;
        m_lastJoin = m_date(nullptr);
        m_isStateTold = false;
    }
    const auto now = m_now();
    if (!m_isReadyTold || (!m_isStateTold && now - m_toldAt >= kBetweenStates)) tellState(now);
    if (m_isReadyTold && m_watchdog.count() != 0 && now - m_aliveAt >= m_watchdog / 2) tellAlive(now);
}

void LifeSigns::tellState(Clock::time_point now) noexcept
{
    std::array<char, 32> date{};
    std::tm parts{};
    if (gmtime_r(&m_lastJoin, &parts)) std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &parts);
    const char* const ready = m_isReadyTold ? "" : "READY=1\n";
    std::array<char, 128> text{};
    const int length = m_joins == 0
                           ? std::snprintf(text.data(), text.size(), "%sSTATUS=Running, no join yet", ready)
                           : std::snprintf(text.data(), text.size(), "%sSTATUS=Running, joins: %u, the last at %s UTC",
                                           ready, unsigned{m_joins}, date.data());
    if (length < 0 || !m_manager.tell(text.data())) return;
    m_isReadyTold = m_isStateTold = true;
    m_toldAt = now;
}

void LifeSigns::tellAlive(Clock::time_point now) noexcept
{
    if (!std::ranges::all_of(m_threads, &Thread::hasTurned) || !m_manager.tell("WATCHDOG=1")) return;
    m_aliveAt = now;
    for (Thread& thread : m_threads) thread.turns = thread.pulse->turns();
}
