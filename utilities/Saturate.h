#ifndef UTILITIES_SATURATE_H
#define UTILITIES_SATURATE_H

#include <concepts>
#include <limits>

/// A double as an integer of type `I`, toward zero. What `I` can't hold becomes its nearest limit, NaN becomes 0: what
/// the float-to-integer instruction of the unit's processor does, where the plain conversion is undefined in C++.
template <std::integral I>
    requires(!std::same_as<I, bool>)
constexpr I saturate(double value)
{
    using Limits = std::numeric_limits<I>;
    // Both are powers of two or zero, so exact in a double; the greatest value itself need not be.
    constexpr double lowest = static_cast<double>(Limits::min());
    constexpr I half = Limits::max() / 2 + 1;
    constexpr double beyond = static_cast<double>(half) * 2.0;
    if (value != value) return 0;
    if (value <= lowest) return Limits::min();
    if (value >= beyond) return Limits::max();
    return static_cast<I>(value);
}

#endif
