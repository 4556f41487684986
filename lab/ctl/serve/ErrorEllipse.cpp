#include "lab/ctl/serve/ErrorEllipse.h"

#include <cmath>
#include <numbers>

namespace orvanectl {

std::optional<ErrorEllipse> errorEllipse(double northNorth, double northEast, double eastEast)
{
    constexpr double kScale = 2.447746830680816;  // sqrt(-2 ln 0.05), of two dimensions
    const double middle = (northNorth + eastEast) / 2;
    const double apart = std::hypot((northNorth - eastEast) / 2, northEast);
    const double greater = middle + apart, lesser = middle - apart;
    // Rounding makes a line of it a little less than nothing.
    if (!std::isfinite(greater) || greater < 0 || lesser < -1e-9 * greater) return std::nullopt;
    double azimuth = 90 * std::atan2(2 * northEast, northNorth - eastEast) / std::numbers::pi;
    if (azimuth < 0) azimuth += 180;
    return ErrorEllipse{kScale * std::sqrt(greater), kScale * std::sqrt(std::fmax(lesser, 0)), azimuth};
}

}  // namespace orvanectl
