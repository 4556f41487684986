#include "aspn2_msgs/gpslos_obs.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(gpslos_obs);

}  // namespace aspn2_msgs::idl
