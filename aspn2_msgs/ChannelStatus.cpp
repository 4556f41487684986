#include "aspn2_msgs/ChannelStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(ChannelStatus);

}  // namespace aspn2_msgs::idl
