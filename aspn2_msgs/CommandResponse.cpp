#include "aspn2_msgs/CommandResponse.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(CommandResponse);

}  // namespace aspn2_msgs::idl
