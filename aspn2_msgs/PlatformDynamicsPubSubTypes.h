#ifndef ASPN2_MSGS_PLATFORMDYNAMICSPUBSUBTYPES_H
#define ASPN2_MSGS_PLATFORMDYNAMICSPUBSUBTYPES_H

#include "aspn2_msgs/PlatformDynamics.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class PlatformDynamicsPubSubType : public TypeSupport<PlatformDynamics> {
public:
    PlatformDynamicsPubSubType() : TypeSupport("aspn2_msgs::idl::PlatformDynamics") {}
};

}  // namespace aspn2_msgs::idl

#endif
