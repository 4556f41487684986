#include "lab/unit/Geometry.h"

#include "utilities/geodetic.h"

#include <cmath>
#include <numbers>

namespace unitsim {

using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;
using std::numbers::pi;

double meridianRadius(double latitude)
{
    const double s = std::sin(latitude);
    const double w = std::sqrt(1.0 - Geodetic::ECCENTRICITY_SQUARED * s * s);
    return Geodetic::SEMI_MAJOR_AXIS * Geodetic::ONE_MINUS_ECCENTRICITY_SQUARED / (w * w * w);
}

double primeVerticalRadius(double latitude)
{
    const double s = std::sin(latitude);
    return Geodetic::SEMI_MAJOR_AXIS / std::sqrt(1.0 - Geodetic::ECCENTRICITY_SQUARED * s * s);
}

double fullTurn(double angle)
{
    const double turned = std::fmod(angle, 2.0 * pi);
    return turned < 0.0 ? turned + 2.0 * pi : turned;
}

double halfTurn(double angle)
{
    return std::remainder(angle, 2.0 * pi);
}

Sight sightOf(const Vector3d& place, const Vector3d& observer)
{
    const Vector3d offset = Geodetic::ECEF_From_Geodetic(place) - Geodetic::ECEF_From_Geodetic(observer);
    const Vector3d local = Geodetic::Build_CET(observer[0], observer[1], observer[2]) * offset;
    const double ground = std::hypot(local[0], local[1]);
    return {std::hypot(ground, local[2]), std::atan2(local[1], local[0]), std::atan2(-local[2], ground)};
}

}  // namespace unitsim
