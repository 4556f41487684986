#ifndef ASPN2_MSGS_RECEIVERSTATUS_H
#define ASPN2_MSGS_RECEIVERSTATUS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_ReceiverStatus(FIELD)                                                                             \
    FIELD(header, header)                                                                                              \
    FIELD(rcvr_fail, boolean)                                                                                          \
    FIELD(num_satellites_avail, int32)                                                                                 \
    FIELD(num_satellites_used, int32)                                                                                  \
    FIELD(pdop, float64)                                                                                               \
    FIELD(tdop, float64)

/// The receiver's own state.
ASPN2_RECORD(ReceiverStatus, 72);

}  // namespace aspn2_msgs::idl

#endif
