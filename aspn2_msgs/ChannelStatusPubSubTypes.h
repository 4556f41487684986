#ifndef ASPN2_MSGS_CHANNELSTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_CHANNELSTATUSPUBSUBTYPES_H

#include "aspn2_msgs/ChannelStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class ChannelStatusPubSubType : public TypeSupport<ChannelStatus> {
public:
    ChannelStatusPubSubType() : TypeSupport("aspn2_msgs::idl::ChannelStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
