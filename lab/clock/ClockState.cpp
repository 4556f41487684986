#include "lab/clock/ClockState.h"

#include <algorithm>

namespace labclock {

namespace {

constexpr std::int64_t kMillion = 1'000'000;
constexpr std::int64_t kFarthest = 8'000'000'000'000'000'000;  // the year 2223, and as many years of uptime

/// By thousandths, rounded down. Limits itself to what a page of nonsense could ask for.
std::int64_t scaled(std::int64_t span, std::int64_t rate)
{
    const std::int64_t whole = span / kMillion;
    std::int64_t product = 0;
    if (__builtin_mul_overflow(whole, rate * (kMillion / 1000), &product) || product > kFarthest ||
        product < -kFarthest)
        return span < 0 ? -kFarthest : kFarthest;
    return product + (span % kMillion) * rate / 1000;
}

std::int64_t inverse(std::int64_t rate, std::int64_t span, std::int64_t limit)
{
    if (span <= 0) return 0;
    if (span >= scaled(limit, rate)) return limit;
    // What is left is less than `limit` by the rate.
    const std::int64_t whole = span / kMillion * kMillion / rate * 1000;
    const std::int64_t rest = span - scaled(whole, rate);
    return std::min(limit, whole + (rest * 1000 + rate - 1) / rate);
}

std::int64_t sum(std::int64_t a, std::int64_t b)
{
    std::int64_t result = 0;
    if (__builtin_add_overflow(a, b, &result)) return a < 0 ? -kFarthest : kFarthest;
    return std::clamp(result, -kFarthest, kFarthest);
}

bool isNear(std::int64_t time)
{
    return time >= -kFarthest && time <= kFarthest;
}

std::int64_t slewAt(const ClockState& state, std::int64_t monotonic)
{
    if (state.slewDuration == 0 || monotonic <= state.slewFrom) return 0;
    const std::int64_t passed = monotonic - state.slewFrom;
    if (passed >= state.slewDuration) return state.slew;
    return static_cast<std::int64_t>(static_cast<double>(state.slew) *
                                     (static_cast<double>(passed) / static_cast<double>(state.slewDuration)));
}

std::int64_t realWithoutLeap(const ClockState& state, std::int64_t monotonic)
{
    return sum(sum(monotonic, state.realOffset), slewAt(state, monotonic));
}

/// A leap second that has passed becomes part of the offset.
ClockState settled(ClockState state, std::int64_t machine)
{
    if (realWithoutLeap(state, monotonicAt(state, machine)) >= state.leapAt) {
        state.realOffset = sum(state.realOffset, -kSecond);
        state.leapAt = ClockState::kNever;
    }
    return state;
}

}  // namespace

bool isValid(const ClockState& state)
{
    const auto isRate = [](std::int64_t rate) {
        return rate >= ClockState::kLeastRate && rate <= ClockState::kGreatestRate;
    };
    return isRate(state.rate) && isRate(state.earlierRate) && state.machineAnchor >= 0 && state.monotonicAnchor >= 0 &&
           isNear(state.machineAnchor) && isNear(state.monotonicAnchor) && isNear(state.realOffset) &&
           isNear(state.slew) && state.slewFrom >= 0 && isNear(state.slewFrom) && state.slewDuration >= 0;
}

std::int64_t monotonicAt(const ClockState& state, std::int64_t machine)
{
    const std::int64_t passed = machine - state.machineAnchor;
    return sum(state.monotonicAnchor, scaled(passed, passed < 0 ? state.earlierRate : state.rate));
}

std::int64_t realAt(const ClockState& state, std::int64_t machine)
{
    const std::int64_t real = realWithoutLeap(state, monotonicAt(state, machine));
    return real >= state.leapAt ? real - kSecond : real;
}

std::int64_t machineSpan(const ClockState& state, std::int64_t machine, std::int64_t span, std::int64_t limit)
{
    if (machine >= state.machineAnchor) return inverse(state.rate, span, limit);
    // The rate is about to change.
    const std::int64_t before = sum(state.monotonicAnchor, -monotonicAt(state, machine));
    const std::int64_t untilThen = state.machineAnchor - machine;
    if (span <= before || untilThen >= limit) return std::min(inverse(state.earlierRate, span, limit), limit);
    return untilThen + inverse(state.rate, span - before, limit - untilThen);
}

std::int64_t clockSpan(const ClockState& state, std::int64_t machineSpan)
{
    return scaled(machineSpan, state.rate);
}

ClockState started(std::int64_t machine, std::int64_t real, std::int64_t rate)
{
    ClockState state;
    state.machineAnchor = state.monotonicAnchor = machine;
    state.rate = state.earlierRate = rate;
    state.realOffset = sum(real, -machine);
    return state;
}

ClockState withRate(ClockState state, std::int64_t machine, std::int64_t rate)
{
    const std::int64_t monotonic = monotonicAt(state, machine);
    state.earlierRate = state.rate;
    state.machineAnchor = machine;
    state.monotonicAnchor = monotonic;
    state.rate = rate;
    return state;
}

ClockState stepped(ClockState state, std::int64_t machine, std::int64_t by)
{
    state = settled(state, machine);
    state.realOffset = sum(state.realOffset, by);
    return state;
}

ClockState slewed(ClockState state, std::int64_t machine, std::int64_t by, std::int64_t duration)
{
    state = settled(state, machine);
    const std::int64_t monotonic = monotonicAt(state, machine);
    state.realOffset = sum(state.realOffset, slewAt(state, monotonic));
    state.slew = by;
    state.slewFrom = monotonic;
    state.slewDuration = duration;
    return state;
}

ClockState withLeapAt(ClockState state, std::int64_t machine, std::int64_t real)
{
    state = settled(state, machine);
    state.leapAt = real;
    return state;
}

}  // namespace labclock
