#include "utilities/NormalizeRange.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kMostTurns = 4096.0;

/// How far `value` lies beyond `minimum`, without the whole widths: in (-2 widths, 2 widths). Each remainder is exact,
/// where the one of the difference would lose the last bit of a value just under a power of two.
double remainderBeyond(double value, double minimum, double width)
{
    return std::fmod(value, width) - std::fmod(minimum, width);
}

/// A value far above ends above `minimum`, for a whole number of widths at `maximum`.
double fromFarAbove(double value, double minimum, double maximum, double width)
{
    double beyond = remainderBeyond(value, minimum, width);
    while (beyond <= 0.0) beyond += width;
    if (beyond > width) beyond -= width;
    return std::min(minimum + beyond, maximum);
}

/// A value far below ends below `maximum`, for a whole number of widths at `minimum`.
double fromFarBelow(double value, double minimum, double maximum, double width)
{
    double beyond = remainderBeyond(value, minimum, width);
    while (beyond < 0.0) beyond += width;
    return std::min(minimum + beyond, maximum);
}

}  // namespace

double normalizeRange(double value, double minimum, double maximum, double width)
{
    if (!std::isfinite(width) || !(width > 0.0)) return value;
    if (std::isinf(value)) return std::numeric_limits<double>::quiet_NaN();
    if (minimum - value > kMostTurns * width) return fromFarBelow(value, minimum, maximum, width);
    if (value - maximum > kMostTurns * width) return fromFarAbove(value, minimum, maximum, width);
    // A step of half the last place or less may not move the value at all.
    while (value < minimum) {
        const double next = value + width;
        if (next == value) return minimum;
        value = next;
    }
    while (value > maximum) {
        const double next = value - width;
        if (next == value) return maximum;
        value = next;
    }
    return value;
}
