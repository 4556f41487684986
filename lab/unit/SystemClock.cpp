#include "lab/unit/SystemClock.h"

namespace unitsim {

using namespace std::chrono;

std::int64_t SystemClock::ticksIn(nanoseconds time)
{
    // 36864 / 625000 is 58982400 / 1e9 in lower terms; whole seconds apart, so that nothing overflows.
    const seconds whole = duration_cast<seconds>(time);
    return whole.count() * kTicksPerSecond + (time - whole).count() * 36864 / 625000;
}

std::uint64_t SystemClock::ticksAt(Clock::time_point moment) const
{
    const std::int64_t ticks = static_cast<std::int64_t>(m_firstTicks) + ticksIn(moment - m_start);
    return ticks < 0 ? 0 : static_cast<std::uint64_t>(ticks);
}

RunningCount::RunningCount(RegisterFile& registers, const SystemClock& clock, nanoseconds step)
    : m_registers(registers), m_clock(clock), m_step(step), m_thread([this] { run(); })
{}

RunningCount::~RunningCount()
{
    {
        const MutexLock lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void RunningCount::run()
{
    MutexLock lock(m_mutex);
    while (!m_stop) {
        m_registers.setSystemCount(m_clock.ticksAt(SystemClock::Clock::now()));
        m_wake.wait_for(m_mutex, m_step);
    }
}

}  // namespace unitsim
