#include "aspn2_msgs/PositionVelocity.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(PositionVelocity);

}  // namespace aspn2_msgs::idl
