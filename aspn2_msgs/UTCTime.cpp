#include "aspn2_msgs/UTCTime.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(UTCTime);

}  // namespace aspn2_msgs::idl
