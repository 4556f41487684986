#ifndef ASPN2_MSGS_THREEAXISMAGNETOMETER_H
#define ASPN2_MSGS_THREEAXISMAGNETOMETER_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_ThreeAxisMagnetometer(FIELD)                                                                      \
    FIELD(header, header)                                                                                              \
    FIELD(field, float64[3])                                                                                           \
    FIELD(covariance, float64[3][3])

/// A magnetic field vector.
ASPN2_RECORD(ThreeAxisMagnetometer, 144);

}  // namespace aspn2_msgs::idl

#endif
