#ifndef ASPN2_MSGS_POSITIONVELOCITYATTITUDEPUBSUBTYPES_H
#define ASPN2_MSGS_POSITIONVELOCITYATTITUDEPUBSUBTYPES_H

#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class PositionVelocityAttitudePubSubType : public TypeSupport<PositionVelocityAttitude> {
public:
    PositionVelocityAttitudePubSubType() : TypeSupport("aspn2_msgs::idl::PositionVelocityAttitude") {}
};

}  // namespace aspn2_msgs::idl

#endif
