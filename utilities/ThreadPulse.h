#ifndef UTILITIES_THREADPULSE_H
#define UTILITIES_THREADPULSE_H

#include <atomic>
#include <cstdint>

/// The turns of one thread that works in a loop, so that another one sees whether it still goes round. A thread that is
/// not there rests: nobody waits for its turns. `turn` and `rest` are for that thread; `turns` is for any.
class ThreadPulse {
public:
    /// The thread begins a turn.
    void turn() noexcept
    {
        const std::uint32_t next = m_turns.load(std::memory_order_relaxed) + 1;
        m_turns.store(next == kAtRest ? next + 1 : next, std::memory_order_relaxed);
    }

    /// The thread ends in order. One that gives up doesn't rest.
    void rest() noexcept { m_turns.store(kAtRest, std::memory_order_relaxed); }

    static constexpr std::uint32_t kAtRest = 0;

    /// Another number after each turn; `kAtRest` before the first one, and at rest.
    std::uint32_t turns() const noexcept { return m_turns.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint32_t> m_turns = kAtRest;
};

#endif
