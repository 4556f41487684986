#include "aspn2_msgs/AssuranceState.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(AssuranceState);

}  // namespace aspn2_msgs::idl
