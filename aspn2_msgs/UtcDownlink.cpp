#include "aspn2_msgs/UtcDownlink.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(UtcDownlink);

}  // namespace aspn2_msgs::idl
