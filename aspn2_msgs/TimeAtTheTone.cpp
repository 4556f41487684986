#include "aspn2_msgs/TimeAtTheTone.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(TimeAtTheTone);

}  // namespace aspn2_msgs::idl
