#include "aspn2_msgs/ChallengedEnvironment.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(ChallengedEnvironment);

}  // namespace aspn2_msgs::idl
