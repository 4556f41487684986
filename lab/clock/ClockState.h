#ifndef LAB_CLOCK_CLOCKSTATE_H
#define LAB_CLOCK_CLOCKSTATE_H

#include <cstdint>
#include <limits>

/// The lab's clock as arithmetic: how its two times follow from the machine's monotonic time. Pure functions, any thread,
/// also in signal handlers; all times are nanoseconds.
namespace labclock {

constexpr std::int64_t kSecond = 1'000'000'000;

/// What the times of a clock follow from.
struct ClockState {
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
    static constexpr std::int64_t kLeastRate = 1;             // a thousandth
    static constexpr std::int64_t kGreatestRate = 1'000'000;  // a thousand

    std::int64_t machineAnchor = 0;  ///< the machine's monotonic time from which on `rate` holds, `earlierRate` before
    std::int64_t monotonicAnchor = 0;  ///< this clock's monotonic time then
    std::int64_t rate = 1000;          ///< thousandths
    std::int64_t earlierRate = 1000;   ///< thousandths
    std::int64_t realOffset = 0;       ///< real time is ahead of monotonic time by this much, and by the slew
    std::int64_t slew = 0;             ///< real time is shifted by this much in all,
    std::int64_t slewFrom = 0;         ///< evenly from this monotonic time on
    std::int64_t slewDuration = 0;     ///< for so long
    std::int64_t leapAt = kNever;      ///< at this real time the second that has passed comes again

    bool operator==(const ClockState&) const = default;
};

/// Whether the numbers can be of a clock; `monotonicAt` and the others ask for that.
bool isValid(const ClockState& state);

std::int64_t monotonicAt(const ClockState& state, std::int64_t machine);

/// Since 1970.
std::int64_t realAt(const ClockState& state, std::int64_t machine);

/// How long the machine takes from `machine` on for a span of the clock, rounded up, but `limit` at the most; 0 for a
/// negative one.
std::int64_t machineSpan(const ClockState& state, std::int64_t machine, std::int64_t span, std::int64_t limit);

/// How much of the clock passes in a span of the machine, which is not negative.
std::int64_t clockSpan(const ClockState& state, std::int64_t machineSpan);

/// A clock whose monotonic time is the machine's at `machine`.
ClockState started(std::int64_t machine, std::int64_t real, std::int64_t rate);

/// The same clock with another rate from `machine` on, which is not before the anchor; nothing changes between.
ClockState withRate(ClockState state, std::int64_t machine, std::int64_t rate);

/// The same clock with its real time shifted at once.
ClockState stepped(ClockState state, std::int64_t machine, std::int64_t by);

/// The same clock with its real time shifted evenly while `duration` of its monotonic time passes; what is left of an
/// earlier slew is dropped. `duration` is longer than the shift, so that time never goes back.
ClockState slewed(ClockState state, std::int64_t machine, std::int64_t by, std::int64_t duration);

/// The same clock, which repeats the second that ends at this real time.
ClockState withLeapAt(ClockState state, std::int64_t machine, std::int64_t real);

}  // namespace labclock

#endif
