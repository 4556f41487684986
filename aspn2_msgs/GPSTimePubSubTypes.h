#ifndef ASPN2_MSGS_GPSTIMEPUBSUBTYPES_H
#define ASPN2_MSGS_GPSTIMEPUBSUBTYPES_H

#include "aspn2_msgs/GPSTime.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class GPSTimePubSubType : public TypeSupport<GPSTime> {
public:
    GPSTimePubSubType() : TypeSupport("aspn2_msgs::idl::GPSTime") {}
};

}  // namespace aspn2_msgs::idl

#endif
