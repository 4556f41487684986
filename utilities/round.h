#ifndef UTILITIES_ROUND_H
#define UTILITIES_ROUND_H

#include <cstdint>

/// Doubles to whole numbers. What the integer cannot hold becomes its nearest limit, NaN becomes 0. Pure; any thread.

/// To the nearest, halves up; 0 for everything negative.
std::uint32_t uround(double x);

/// To the nearest, halves away from zero.
std::int32_t iround(double x);

/// Splits at the decimal point; both parts have the sign of the value. The nanoseconds are cut, not rounded.
/// @param value        seconds
/// @param seconds      whole seconds
/// @param nanoseconds  -999999999 to 999999999
void ToSecondsNanoseconds(double value, std::int32_t& seconds, std::int64_t& nanoseconds);

#endif
