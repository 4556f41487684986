#include "aspn2_msgs/GPSLineOfSight.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(GPSLineOfSight);

}  // namespace aspn2_msgs::idl
