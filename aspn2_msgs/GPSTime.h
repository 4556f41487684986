#ifndef ASPN2_MSGS_GPSTIME_H
#define ASPN2_MSGS_GPSTIME_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_GPSTime(FIELD)                                                                                    \
    FIELD(header, header)                                                                                              \
    FIELD(rcvr_set_time_sec, int32, "s")                                                                               \
    FIELD(rcvr_set_time_nsec, float64, "ns")                                                                           \
    FIELD(rcvr_time_bias, float64)                                                                                     \
    FIELD(rcvr_time_bias_error, float64)                                                                               \
    FIELD(rcvr_time_bias_error_rate, float64)                                                                          \
    FIELD(gps_tow_sec, int32, "s")                                                                                     \
    FIELD(gps_tow_nsec, float64, "ns")                                                                                 \
    FIELD(gps_week, int32)                                                                                             \
    FIELD(covariance, float64[2][2])

/// The receiver's time, its bias, and the time by GPS week.
ASPN2_RECORD(GPSTime, 136);

}  // namespace aspn2_msgs::idl

#endif
