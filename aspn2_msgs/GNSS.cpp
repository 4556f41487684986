#include "aspn2_msgs/GNSS.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(GNSS);

}  // namespace aspn2_msgs::idl
