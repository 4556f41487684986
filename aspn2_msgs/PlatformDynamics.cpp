#include "aspn2_msgs/PlatformDynamics.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(PlatformDynamics);

}  // namespace aspn2_msgs::idl
