#include "aspn2_msgs/GPSTime.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(GPSTime);

}  // namespace aspn2_msgs::idl
