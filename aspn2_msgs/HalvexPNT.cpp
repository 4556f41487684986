#include "aspn2_msgs/HalvexPNT.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(HalvexPNT);

}  // namespace aspn2_msgs::idl
