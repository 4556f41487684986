#include "aspn2_msgs/bit_comp_set.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(bit_comp_set);

}  // namespace aspn2_msgs::idl
