#ifndef ASPN2_MSGS_GPSLINEOFSIGHT_H
#define ASPN2_MSGS_GPSLINEOFSIGHT_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/gpslos_obs.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_GPSLineOfSight(FIELD)                                                                             \
    FIELD(header, header)                                                                                              \
    FIELD(num_measurements, int32)                                                                                     \
    FIELD(obs, sequence<gpslos_obs>)

/// The measurements of a receiver along the lines of sight.
ASPN2_RECORD(GPSLineOfSight, 14456);

}  // namespace aspn2_msgs::idl

#endif
