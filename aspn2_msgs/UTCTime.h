#ifndef ASPN2_MSGS_UTCTIME_H
#define ASPN2_MSGS_UTCTIME_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_UTCTime(FIELD)                                                                                    \
    FIELD(header, header)                                                                                              \
    FIELD(gps_tow_sec, int32)                                                                                          \
    FIELD(gps_tow_nsec, float64)                                                                                       \
    FIELD(gps_week, int32)                                                                                             \
    FIELD(utc_tod_sec, int32)                                                                                          \
    FIELD(utc_tod_nsec, float64)                                                                                       \
    FIELD(a1, float64)                                                                                                 \
    FIELD(covariance, float64[2][2])

/// The time by GPS week and by UTC day, with its covariance.
ASPN2_RECORD(UTCTime, 112);

}  // namespace aspn2_msgs::idl

#endif
