#include "aspn2_msgs/BitEntryStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(BitEntryStatus);

}  // namespace aspn2_msgs::idl
