#include "aspn2_msgs/ThreeAxisMagnetometer.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(ThreeAxisMagnetometer);

}  // namespace aspn2_msgs::idl
