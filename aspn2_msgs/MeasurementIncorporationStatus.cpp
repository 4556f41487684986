#include "aspn2_msgs/MeasurementIncorporationStatus.h"

#include "aspn2_msgs/RecordCodec.h"

namespace aspn2_msgs::idl {

ASPN2_RECORD_CODEC(MeasurementIncorporationStatus);

}  // namespace aspn2_msgs::idl
