#ifndef ASPN2_MSGS_DELTATIMEANDFREQUENCYPUBSUBTYPES_H
#define ASPN2_MSGS_DELTATIMEANDFREQUENCYPUBSUBTYPES_H

#include "aspn2_msgs/DeltaTimeAndFrequency.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class DeltaTimeAndFrequencyPubSubType : public TypeSupport<DeltaTimeAndFrequency> {
public:
    DeltaTimeAndFrequencyPubSubType() : TypeSupport("aspn2_msgs::idl::DeltaTimeAndFrequency") {}
};

}  // namespace aspn2_msgs::idl

#endif
