#ifndef ASPN2_MSGS_GNSSSUBFRAMEPUBSUBTYPES_H
#define ASPN2_MSGS_GNSSSUBFRAMEPUBSUBTYPES_H

#include "aspn2_msgs/GNSSSubframe.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class GNSSSubframePubSubType : public TypeSupport<GNSSSubframe> {
public:
    GNSSSubframePubSubType() : TypeSupport("aspn2_msgs::idl::GNSSSubframe") {}
};

}  // namespace aspn2_msgs::idl

#endif
