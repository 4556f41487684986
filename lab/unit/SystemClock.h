#ifndef LAB_UNIT_SYSTEMCLOCK_H
#define LAB_UNIT_SYSTEMCLOCK_H

#include "lab/unit/RegisterFile.h"
#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <thread>

namespace unitsim {

/// The FPGA's system count, 58,982,400 ticks a second, and what runs it. Any thread may read.
class SystemClock {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::int64_t kTicksPerSecond = 58982400;

    /// @param firstTicks  the count at `start`
    SystemClock(std::uint64_t firstTicks, Clock::time_point start) : m_firstTicks(firstTicks), m_start(start) {}

    /// The count at a moment; before `start` less than at it, but not below 0.
    std::uint64_t ticksAt(Clock::time_point moment) const;

    /// Ticks in a time, rounded toward zero.
    static std::int64_t ticksIn(std::chrono::nanoseconds time);

private:
    std::uint64_t m_firstTicks;
    Clock::time_point m_start;
};

/// Keeps the count in the register file up to date on a thread of its own until it is destroyed.
class RunningCount {
public:
    RunningCount(RegisterFile& registers, const SystemClock& clock, std::chrono::nanoseconds step);
    ~RunningCount();
    RunningCount(const RunningCount&) = delete;
    RunningCount& operator=(const RunningCount&) = delete;

private:
    void run() EXCLUDES(m_mutex);

    RegisterFile& m_registers;
    const SystemClock m_clock;
    const std::chrono::nanoseconds m_step;
    Mutex m_mutex;
    std::condition_variable_any m_wake;
    bool m_stop GUARDED_BY(m_mutex) = false;
    std::thread m_thread;  // last: it uses all of the above
};

}  // namespace unitsim

#endif
