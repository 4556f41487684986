#include "utilities/PositionUtilities.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace PositionUtilities {

namespace {

/// 1 up to the first limit, one more for each limit exceeded.
template <std::size_t Count>
int classOf(double variance, const double (&limits)[Count])
{
    if (!std::isfinite(variance)) return Count + 1;
    return 1 + static_cast<int>(std::ranges::count_if(limits, [=](double m) { return variance > m * m; }));
}

constexpr double kFomLimits[] = {25, 50, 75, 100, 200, 500, 1000, 5000};  // m
constexpr double kEfomLimits[] = {1, 3, 5, 10};                           // m

}  // namespace

int PosVar2Fom(double variance)
{
    return classOf(variance, kFomLimits);
}

int PosVar2Efom(double variance)
{
    return classOf(variance, kEfomLimits);
}

}  // namespace PositionUtilities
