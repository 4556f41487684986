#ifndef ASPN2_MSGS_ASSURANCESTATEPUBSUBTYPES_H
#define ASPN2_MSGS_ASSURANCESTATEPUBSUBTYPES_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class AssuranceStatePubSubType : public TypeSupport<AssuranceState> {
public:
    AssuranceStatePubSubType() : TypeSupport("aspn2_msgs::idl::AssuranceState") {}
};

}  // namespace aspn2_msgs::idl

#endif
