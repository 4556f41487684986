#include "aspn2_msgs/timestamp.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(timestamp);

}  // namespace aspn2_msgs::idl
