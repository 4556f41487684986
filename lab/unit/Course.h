#ifndef LAB_UNIT_COURSE_H
#define LAB_UNIT_COURSE_H

#include "utilities/vector3d.h"

namespace unitsim {

/// Where a vehicle is and how it moves.
struct VehicleState {
    QD_K71T_geometry::Vector3d position;  ///< latitude and longitude, radians; height above WGS-84, metres
    QD_K71T_geometry::Vector3d velocity;  ///< north, east, down, m/s
    QD_K71T_geometry::Vector3d attitude;  ///< roll, pitch, heading, radians; heading in 0 to a full turn
};

/// A drive without end round an ellipse of 1200 m by 600 m over a gentle rise: every minute the vehicle sets off
/// from rest, reaches up to 67 km/h and stops. Smooth in all that it tells: the velocity is the derivative of the
/// position on the ellipsoid, exactly. Any thread.
class Course {
public:
    /// @param seconds  from the start, at which the vehicle stands
    static VehicleState at(double seconds);
};

}  // namespace unitsim

#endif
