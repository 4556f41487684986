#ifndef ASPN2_MSGS_POSITIONVELOCITY_H
#define ASPN2_MSGS_POSITIONVELOCITY_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/geodeticposition3d_type.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_PositionVelocity(FIELD)                                                                           \
    FIELD(header, header)                                                                                              \
    FIELD(position, geodeticposition3d_type)                                                                           \
    FIELD(velocity, float64[3])                                                                                        \
    FIELD(covariance, float64[6][6])

/// Position and velocity with their covariance.
ASPN2_RECORD(PositionVelocity, 384);

}  // namespace aspn2_msgs::idl

#endif
