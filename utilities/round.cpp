#include "utilities/round.h"

#include "utilities/Saturate.h"

#include <cmath>

namespace {

/// Against a result that lies just under a whole number.
constexpr double kGuard = 0.1;

}  // namespace

std::uint32_t uround(double x)
{
    const double nearest = std::round(x);
    return nearest < -kGuard ? 0 : saturate<std::uint32_t>(nearest + kGuard);
}

std::int32_t iround(double x)
{
    const double nearest = std::round(x);
    return saturate<std::int32_t>(nearest < -kGuard ? nearest - kGuard : nearest + kGuard);
}

void ToSecondsNanoseconds(double value, std::int32_t& seconds, std::int64_t& nanoseconds)
{
    double whole = 0.0;
    const double fraction = std::modf(value, &whole);
    seconds = saturate<std::int32_t>(whole);
    nanoseconds = saturate<std::int64_t>(fraction * 1e9);
}
