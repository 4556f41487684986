#ifndef ASPN2_MSGS_GPSLOS_OBSPUBSUBTYPES_H
#define ASPN2_MSGS_GPSLOS_OBSPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/gpslos_obs.h"

namespace aspn2_msgs::idl {

class gpslos_obsPubSubType : public TypeSupport<gpslos_obs> {
public:
    gpslos_obsPubSubType() : TypeSupport("aspn2_msgs::idl::gpslos_obs") {}
};

}  // namespace aspn2_msgs::idl

#endif
