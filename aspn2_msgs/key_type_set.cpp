#include "aspn2_msgs/key_type_set.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(key_type_set);

}  // namespace aspn2_msgs::idl
