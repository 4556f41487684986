#include "aspn2_msgs/NavigationMode.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(NavigationMode);

}  // namespace aspn2_msgs::idl
