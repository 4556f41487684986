#ifndef LAB_UNIT_GEOMETRY_H
#define LAB_UNIT_GEOMETRY_H

#include "utilities/vector3d.h"

/// Places on WGS-84: latitude and longitude in radians, height above the ellipsoid in metres. Pure functions, any thread.
namespace unitsim {

/// Radii of curvature of WGS-84 in the meridian and in the prime vertical, metres (Torge, Geodesy).
double meridianRadius(double latitude);
double primeVerticalRadius(double latitude);

/// An angle brought into 0 to a full turn, and into half a turn to either side.
double fullTurn(double angle);
double halfTurn(double angle);

/// Where a place is, seen from another.
struct Sight {
    double range = 0.0;      ///< m, along the straight line
    double azimuth = 0.0;    ///< rad from true north over east, -pi to pi; 0 straight above and below
    double elevation = 0.0;  ///< rad above the plane that touches the ellipsoid's parallel at the observer
};
Sight sightOf(const QD_K71T_geometry::Vector3d& place, const QD_K71T_geometry::Vector3d& observer);

}  // namespace unitsim

#endif
