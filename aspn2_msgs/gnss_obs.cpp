#include "aspn2_msgs/gnss_obs.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(gnss_obs);

}  // namespace aspn2_msgs::idl
