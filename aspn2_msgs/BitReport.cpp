#include "aspn2_msgs/BitReport.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(BitReport);

}  // namespace aspn2_msgs::idl
