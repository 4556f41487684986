#ifndef ASPN2_MSGS_GNSS_OBSPUBSUBTYPES_H
#define ASPN2_MSGS_GNSS_OBSPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/gnss_obs.h"

namespace aspn2_msgs::idl {

class gnss_obsPubSubType : public TypeSupport<gnss_obs> {
public:
    gnss_obsPubSubType() : TypeSupport("aspn2_msgs::idl::gnss_obs") {}
};

}  // namespace aspn2_msgs::idl

#endif
