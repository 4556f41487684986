#ifndef ASPN2_MSGS_TIMESYNC_H
#define ASPN2_MSGS_TIMESYNC_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_TimeSync(FIELD)                                                                                   \
    FIELD(header, header)                                                                                              \
    FIELD(SyncCount, int64)                                                                                            \
    FIELD(Time_NS, int64, "ns")

/// A synchronisation pulse by its number and its time in nanoseconds.
ASPN2_RECORD(TimeSync, 64);

}  // namespace aspn2_msgs::idl

#endif
