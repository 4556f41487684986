#include "aspn2_msgs/geodeticposition3d_type.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(geodeticposition3d_type);

}  // namespace aspn2_msgs::idl
