#ifndef ASPN2_MSGS_GSSIPPUBSUBTYPES_H
#define ASPN2_MSGS_GSSIPPUBSUBTYPES_H

#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class GSSIPPubSubType : public TypeSupport<GSSIP> {
public:
    GSSIPPubSubType() : TypeSupport("aspn2_msgs::idl::GSSIP") {}
};

}  // namespace aspn2_msgs::idl

#endif
