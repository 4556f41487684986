#include "aspn2_msgs/TimeSync.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(TimeSync);

}  // namespace aspn2_msgs::idl
