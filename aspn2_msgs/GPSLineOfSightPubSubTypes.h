#ifndef ASPN2_MSGS_GPSLINEOFSIGHTPUBSUBTYPES_H
#define ASPN2_MSGS_GPSLINEOFSIGHTPUBSUBTYPES_H

#include "aspn2_msgs/GPSLineOfSight.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class GPSLineOfSightPubSubType : public TypeSupport<GPSLineOfSight> {
public:
    GPSLineOfSightPubSubType() : TypeSupport("aspn2_msgs::idl::GPSLineOfSight") {}
};

}  // namespace aspn2_msgs::idl

#endif
