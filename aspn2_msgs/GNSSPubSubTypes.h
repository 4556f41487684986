#ifndef ASPN2_MSGS_GNSSPUBSUBTYPES_H
#define ASPN2_MSGS_GNSSPUBSUBTYPES_H

#include "aspn2_msgs/GNSS.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class GNSSPubSubType : public TypeSupport<GNSS> {
public:
    GNSSPubSubType() : TypeSupport("aspn2_msgs::idl::GNSS") {}
};

}  // namespace aspn2_msgs::idl

#endif
