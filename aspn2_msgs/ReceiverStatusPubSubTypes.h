#ifndef ASPN2_MSGS_RECEIVERSTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_RECEIVERSTATUSPUBSUBTYPES_H

#include "aspn2_msgs/ReceiverStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class ReceiverStatusPubSubType : public TypeSupport<ReceiverStatus> {
public:
    ReceiverStatusPubSubType() : TypeSupport("aspn2_msgs::idl::ReceiverStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
