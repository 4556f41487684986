#ifndef ASPN2_MSGS_PLATFORMDYNAMICS_H
#define ASPN2_MSGS_PLATFORMDYNAMICS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_PlatformDynamics(FIELD)                                                                           \
    FIELD(header, header)                                                                                              \
    FIELD(velocity, float64[3])                                                                                        \
    FIELD(acceleration, float64[3])                                                                                    \
    FIELD(attitude, float64[3])                                                                                        \
    FIELD(attitude_rate, float64[3])                                                                                   \
    FIELD(covariance, float64[12][12])

/// The motion of the vehicle: velocity, acceleration, attitude, attitude rate.
ASPN2_RECORD(PlatformDynamics, 1296);

}  // namespace aspn2_msgs::idl

#endif
