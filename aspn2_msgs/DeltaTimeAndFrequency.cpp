#include "aspn2_msgs/DeltaTimeAndFrequency.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(DeltaTimeAndFrequency);

}  // namespace aspn2_msgs::idl
