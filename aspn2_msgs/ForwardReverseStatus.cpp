#include "aspn2_msgs/ForwardReverseStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(ForwardReverseStatus);

}  // namespace aspn2_msgs::idl
