#ifndef ASPN2_MSGS_POSITIONVELOCITYPUBSUBTYPES_H
#define ASPN2_MSGS_POSITIONVELOCITYPUBSUBTYPES_H

#include "aspn2_msgs/PositionVelocity.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class PositionVelocityPubSubType : public TypeSupport<PositionVelocity> {
public:
    PositionVelocityPubSubType() : TypeSupport("aspn2_msgs::idl::PositionVelocity") {}
};

}  // namespace aspn2_msgs::idl

#endif
