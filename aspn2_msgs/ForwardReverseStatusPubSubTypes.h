#ifndef ASPN2_MSGS_FORWARDREVERSESTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_FORWARDREVERSESTATUSPUBSUBTYPES_H

#include "aspn2_msgs/ForwardReverseStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class ForwardReverseStatusPubSubType : public TypeSupport<ForwardReverseStatus> {
public:
    ForwardReverseStatusPubSubType() : TypeSupport("aspn2_msgs::idl::ForwardReverseStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
