#ifndef ASPN2_MSGS_POSITIONVELOCITYATTITUDE_H
#define ASPN2_MSGS_POSITIONVELOCITYATTITUDE_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/geodeticposition3d_type.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_PositionVelocityAttitude(FIELD)                                                                   \
    FIELD(header, header)                                                                                              \
    FIELD(position, geodeticposition3d_type)                                                                           \
    FIELD(velocity, float64[3], "m/s")                                                                                 \
    FIELD(attitude, float64[3], "rad")                                                                                 \
    FIELD(covariance, float64[9][9])

/// The navigation solution. `covariance` is the full matrix of position, velocity and attitude, row by row: the first
/// three elements of its diagonal are taken as m^2. The rest is as `unit-sim` sends it, and the service reads
/// none of it: `velocity` along north, east, down; `attitude` as roll, pitch, heading; `covariance` of the position
/// along north, east, down, then in (m/s)^2 and rad^2.
ASPN2_RECORD(PositionVelocityAttitude, 768);

}  // namespace aspn2_msgs::idl

#endif
