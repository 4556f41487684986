#include "aspn2_msgs/IMU.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(IMU);

}  // namespace aspn2_msgs::idl
