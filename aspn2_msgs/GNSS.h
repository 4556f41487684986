#ifndef ASPN2_MSGS_GNSS_H
#define ASPN2_MSGS_GNSS_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/gnss_obs.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_GNSS(FIELD)                                                                                       \
    FIELD(header, header)                                                                                              \
    FIELD(week_number, int32)                                                                                          \
    FIELD(seconds_of_week, float64, "s")                                                                               \
    FIELD(time_system, time_system_enum)                                                                               \
    FIELD(epoch_flag, int32)                                                                                           \
    FIELD(num_satellites, int32)                                                                                       \
    FIELD(num_measurements, int32)                                                                                     \
    FIELD(obs, sequence<gnss_obs>)

/// The observations of a receiver at one epoch.
ASPN2_RECORD(GNSS, 4076);

}  // namespace aspn2_msgs::idl

#endif
