#ifndef ASPN2_MSGS_ALTITUDEPUBSUBTYPES_H
#define ASPN2_MSGS_ALTITUDEPUBSUBTYPES_H

#include "aspn2_msgs/Altitude.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class AltitudePubSubType : public TypeSupport<Altitude> {
public:
    AltitudePubSubType() : TypeSupport("aspn2_msgs::idl::Altitude") {}
};

}  // namespace aspn2_msgs::idl

#endif
