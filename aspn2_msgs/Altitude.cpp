#include "aspn2_msgs/Altitude.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(Altitude);

}  // namespace aspn2_msgs::idl
