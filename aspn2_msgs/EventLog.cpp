#include "aspn2_msgs/EventLog.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(EventLog);

}  // namespace aspn2_msgs::idl
