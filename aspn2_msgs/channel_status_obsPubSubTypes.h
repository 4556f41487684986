#ifndef ASPN2_MSGS_CHANNEL_STATUS_OBSPUBSUBTYPES_H
#define ASPN2_MSGS_CHANNEL_STATUS_OBSPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/channel_status_obs.h"

namespace aspn2_msgs::idl {

class channel_status_obsPubSubType : public TypeSupport<channel_status_obs> {
public:
    channel_status_obsPubSubType() : TypeSupport("aspn2_msgs::idl::channel_status_obs") {}
};

}  // namespace aspn2_msgs::idl

#endif
