#ifndef ASPN2_MSGS_ALTITUDE_H
#define ASPN2_MSGS_ALTITUDE_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_Altitude(FIELD)                                                                                   \
    FIELD(header, header)                                                                                              \
    FIELD(altitude, float64)                                                                                           \
    FIELD(variance, float64)

/// An altitude with its variance.
ASPN2_RECORD(Altitude, 64);

}  // namespace aspn2_msgs::idl

#endif
