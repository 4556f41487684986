#ifndef ASPN2_MSGS_HALVEXPNTPUBSUBTYPES_H
#define ASPN2_MSGS_HALVEXPNTPUBSUBTYPES_H

#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class HalvexPNTPubSubType : public TypeSupport<HalvexPNT> {
public:
    HalvexPNTPubSubType() : TypeSupport("aspn2_msgs::idl::HalvexPNT") {}
};

}  // namespace aspn2_msgs::idl

#endif
