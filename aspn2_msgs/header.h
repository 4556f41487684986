#ifndef ASPN2_MSGS_HEADER_H
#define ASPN2_MSGS_HEADER_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/timestamp.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_header(FIELD)                                                                                     \
    FIELD(seq_num, int64)                                                                                              \
    FIELD(timestamp_arrival, timestamp)                                                                                \
    FIELD(timestamp_valid, timestamp)                                                                                  \
    FIELD(device_id, int32)

/// Stands first in every topic type. `timestamp_valid` is the time for which the content holds, `timestamp_arrival` the
/// one at which it came. `device_id` names the sender: system, server, message number and topic, one byte each from the
/// highest down. `seq_num` counts the records of a sender, from 0 where the service sends.
ASPN2_RECORD(header, 44);

}  // namespace aspn2_msgs::idl

#endif
