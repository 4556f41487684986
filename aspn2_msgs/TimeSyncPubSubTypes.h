#ifndef ASPN2_MSGS_TIMESYNCPUBSUBTYPES_H
#define ASPN2_MSGS_TIMESYNCPUBSUBTYPES_H

#include "aspn2_msgs/TimeSync.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class TimeSyncPubSubType : public TypeSupport<TimeSync> {
public:
    TimeSyncPubSubType() : TypeSupport("aspn2_msgs::idl::TimeSync") {}
};

}  // namespace aspn2_msgs::idl

#endif
