#ifndef ASPN2_MSGS_CHANNELSTATUS_H
#define ASPN2_MSGS_CHANNELSTATUS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/channel_status_obs.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_ChannelStatus(FIELD)                                                                              \
    FIELD(header, header)                                                                                              \
    FIELD(num_channels, int32)                                                                                         \
    FIELD(channels, sequence<channel_status_obs>)

/// The channels of a receiver.
ASPN2_RECORD(ChannelStatus, 4452);

}  // namespace aspn2_msgs::idl

#endif
