#include "aspn2_msgs/PositionVelocityAttitude.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(PositionVelocityAttitude);

}  // namespace aspn2_msgs::idl
