#include "aspn2_msgs/SVStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(SVStatus);

}  // namespace aspn2_msgs::idl
