#include "aspn2_msgs/GSSIP.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(GSSIP);

}  // namespace aspn2_msgs::idl
