#include "aspn2_msgs/Velocity3D.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(Velocity3D);

}  // namespace aspn2_msgs::idl
