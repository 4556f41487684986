#ifndef ASPN2_MSGS_MEASUREMENTINCORPORATIONSTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_MEASUREMENTINCORPORATIONSTATUSPUBSUBTYPES_H

#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class MeasurementIncorporationStatusPubSubType : public TypeSupport<MeasurementIncorporationStatus> {
public:
    MeasurementIncorporationStatusPubSubType() : TypeSupport("aspn2_msgs::idl::MeasurementIncorporationStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
