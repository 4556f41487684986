#ifndef ASPN2_MSGS_VELOCITY3D_H
#define ASPN2_MSGS_VELOCITY3D_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_Velocity3D(FIELD)                                                                                 \
    FIELD(header, header)                                                                                              \
    FIELD(x, float64)                                                                                                  \
    FIELD(y, float64)                                                                                                  \
    FIELD(z, float64)                                                                                                  \
    FIELD(covariance, float64[3][3])

/// A velocity by its three components.
ASPN2_RECORD(Velocity3D, 144);

}  // namespace aspn2_msgs::idl

#endif
