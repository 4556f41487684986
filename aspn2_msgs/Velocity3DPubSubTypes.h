#ifndef ASPN2_MSGS_VELOCITY3DPUBSUBTYPES_H
#define ASPN2_MSGS_VELOCITY3DPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/Velocity3D.h"

namespace aspn2_msgs::idl {

class Velocity3DPubSubType : public TypeSupport<Velocity3D> {
public:
    Velocity3DPubSubType() : TypeSupport("aspn2_msgs::idl::Velocity3D") {}
};

}  // namespace aspn2_msgs::idl

#endif
