#ifndef ASPN2_MSGS_THREEAXISMAGNETOMETERPUBSUBTYPES_H
#define ASPN2_MSGS_THREEAXISMAGNETOMETERPUBSUBTYPES_H

#include "aspn2_msgs/ThreeAxisMagnetometer.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class ThreeAxisMagnetometerPubSubType : public TypeSupport<ThreeAxisMagnetometer> {
public:
    ThreeAxisMagnetometerPubSubType() : TypeSupport("aspn2_msgs::idl::ThreeAxisMagnetometer") {}
};

}  // namespace aspn2_msgs::idl

#endif
