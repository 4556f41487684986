#include "aspn2_msgs/channel_status_obs.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(channel_status_obs);

}  // namespace aspn2_msgs::idl
