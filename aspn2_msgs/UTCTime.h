#ifndef ASPN2_MSGS_UTCTIME_H
#define ASPN2_MSGS_UTCTIME_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_UTCTime(FIELD)                                                                                    \
    FIELD(header, header)                                                                                              \
    FIELD(gps_tow_sec, int32, "s")                                                                                     \
    FIELD(gps_tow_nsec, float64, "ns")                                                                                 \
    FIELD(gps_week, int32)                                                                                             \
    FIELD(utc_tod_sec, int32, "s")                                                                                     \
    FIELD(utc_tod_nsec, float64, "ns")                                                                                 \
    FIELD(a1, float64)                                                                                                 \
    FIELD(covariance, float64[2][2])

/// The time by GPS week and by UTC day, with its covariance. `gps_tow_sec` is whole seconds of the GPS week,
/// `utc_tod_sec` of the UTC day, and the nanoseconds of each are to be added; `gps_week` counts from 6 January 1980
/// without rollovers. The first element of `covariance` is taken as the variance of the time in s^2; the last one, of
/// the drift in (s/s)^2, is as `unit-sim` sends it. Nothing reads `a1`.
ASPN2_RECORD(UTCTime, 112);

}  // namespace aspn2_msgs::idl

#endif
