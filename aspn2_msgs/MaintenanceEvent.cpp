#include "aspn2_msgs/MaintenanceEvent.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(MaintenanceEvent);

}  // namespace aspn2_msgs::idl
