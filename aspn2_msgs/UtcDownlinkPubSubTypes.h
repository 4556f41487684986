#ifndef ASPN2_MSGS_UTCDOWNLINKPUBSUBTYPES_H
#define ASPN2_MSGS_UTCDOWNLINKPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/UtcDownlink.h"

namespace aspn2_msgs::idl {

class UtcDownlinkPubSubType : public TypeSupport<UtcDownlink> {
public:
    UtcDownlinkPubSubType() : TypeSupport("aspn2_msgs::idl::UtcDownlink") {}
};

}  // namespace aspn2_msgs::idl

#endif
