#include "VICTORY/OrvaneServer/LifeSigns.h"

#include <array>
#include <cstdio>

namespace {

constexpr std::chrono::seconds kBetweenStates{1};

}  // namespace

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
