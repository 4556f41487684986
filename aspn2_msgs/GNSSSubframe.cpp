#include "aspn2_msgs/GNSSSubframe.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(GNSSSubframe);

}  // namespace aspn2_msgs::idl
