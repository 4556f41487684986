#ifndef ASPN2_MSGS_IMU_H
#define ASPN2_MSGS_IMU_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_IMU(FIELD)                                                                                        \
    FIELD(header, header)                                                                                              \
    FIELD(delta_v, float64[3])                                                                                         \
    FIELD(delta_theta, float64[3])

/// The increments of velocity and of angle of an inertial measurement unit.
ASPN2_RECORD(IMU, 96);

}  // namespace aspn2_msgs::idl

#endif
