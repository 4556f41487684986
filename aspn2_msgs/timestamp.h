#ifndef ASPN2_MSGS_TIMESTAMP_H
#define ASPN2_MSGS_TIMESTAMP_H

#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_timestamp(FIELD)                                                                                  \
    FIELD(sec, int64, "s")                                                                                             \
    FIELD(nsec, int32, "ns")                                                                                           \
    FIELD(time_code, int32)

/// A time of the clock that `time_code` names: seconds and nanoseconds from that clock's own epoch. Both may be
/// negative; where the service sets them, both have one sign and nanoseconds are less than a second. `time_code` is 100
/// for live and 101 for simulated time.
ASPN2_RECORD(timestamp, 16);

}  // namespace aspn2_msgs::idl

#endif
