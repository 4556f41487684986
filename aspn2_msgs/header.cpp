#include "aspn2_msgs/header.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(header);

}  // namespace aspn2_msgs::idl
