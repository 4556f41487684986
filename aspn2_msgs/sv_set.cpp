#include "aspn2_msgs/sv_set.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(sv_set);

}  // namespace aspn2_msgs::idl
