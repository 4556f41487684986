#include "aspn2_msgs/ReceiverStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(ReceiverStatus);

}  // namespace aspn2_msgs::idl
