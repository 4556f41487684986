#ifndef ASPN2_MSGS_TIMEATTHETONEPUBSUBTYPES_H
#define ASPN2_MSGS_TIMEATTHETONEPUBSUBTYPES_H

#include "aspn2_msgs/TimeAtTheTone.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class TimeAtTheTonePubSubType : public TypeSupport<TimeAtTheTone> {
public:
    TimeAtTheTonePubSubType() : TypeSupport("aspn2_msgs::idl::TimeAtTheTone") {}
};

}  // namespace aspn2_msgs::idl

#endif
