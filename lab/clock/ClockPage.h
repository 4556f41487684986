#ifndef LAB_CLOCK_CLOCKPAGE_H
#define LAB_CLOCK_CLOCKPAGE_H

#include "lab/clock/ClockState.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace labclock {

/// A clock in memory that processes share by a file: the states that it had, of which the newest holds. Readers wait for
/// nobody: a writer fills the place of the oldest, then counts on. One that dies meanwhile leaves the clock as it was.
class ClockPage {
public:
    /// A new rate holds so many nanoseconds later: all readers know it by then, those that wait look twice as often.
    static constexpr std::int64_t kNotice = kSecond / 5;

    static constexpr std::uint64_t kMark = 0x4B434F4C43424131;  // "1ABCLOCK"

    /// Any thread, also in a signal handler; false if the page is not of a clock.
    bool read(ClockState& state) const;

    /// The same, with a time of the machine at which this state holds.
    bool read(ClockState& state, std::int64_t& machine, std::int64_t (*machineNow)()) const;

    /// One process at a time.
    void write(const ClockState& state);

private:
    static constexpr std::size_t kNumbers = 9;
    static constexpr std::size_t kPlaces = 8;
    static constexpr int kAttempts = 1000;  // each but the last lost to a writer

    std::atomic<std::uint64_t> m_mark;
    std::atomic<std::uint32_t> m_count;  // of states so far
    [[maybe_unused]] std::uint32_t m_reserved;
    std::atomic<std::int64_t> m_places[kPlaces][kNumbers];
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free && std::atomic<std::uint32_t>::is_always_lock_free);
static_assert(sizeof(ClockPage) == 16 + 8 * 9 * 8);

/// Maps the page of a file, for ever.
/// @param error  what is wrong with the file
/// @return nothing if it is no clock
ClockPage* mapClockPage(const char* path, bool isWritable, const char*& error);

}  // namespace labclock

#endif
