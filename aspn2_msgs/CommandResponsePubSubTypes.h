#ifndef ASPN2_MSGS_COMMANDRESPONSEPUBSUBTYPES_H
#define ASPN2_MSGS_COMMANDRESPONSEPUBSUBTYPES_H

#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class CommandResponsePubSubType : public TypeSupport<CommandResponse> {
public:
    CommandResponsePubSubType() : TypeSupport("aspn2_msgs::idl::CommandResponse") {}
};

}  // namespace aspn2_msgs::idl

#endif
