#include "aspn2_msgs/GPSCryptoStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(GPSCryptoStatus);

}  // namespace aspn2_msgs::idl
