#ifndef ASPN2_MSGS_EVENTLOGPUBSUBTYPES_H
#define ASPN2_MSGS_EVENTLOGPUBSUBTYPES_H

#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class EventLogPubSubType : public TypeSupport<EventLog> {
public:
    EventLogPubSubType() : TypeSupport("aspn2_msgs::idl::EventLog") {}
};

}  // namespace aspn2_msgs::idl

#endif
