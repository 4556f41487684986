#ifndef ASPN2_MSGS_UTCTIMEPUBSUBTYPES_H
#define ASPN2_MSGS_UTCTIMEPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/UTCTime.h"

namespace aspn2_msgs::idl {

class UTCTimePubSubType : public TypeSupport<UTCTime> {
public:
    UTCTimePubSubType() : TypeSupport("aspn2_msgs::idl::UTCTime") {}
};

}  // namespace aspn2_msgs::idl

#endif
