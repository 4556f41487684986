#ifndef ASPN2_MSGS_SVSTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_SVSTATUSPUBSUBTYPES_H

#include "aspn2_msgs/SVStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class SVStatusPubSubType : public TypeSupport<SVStatus> {
public:
    SVStatusPubSubType() : TypeSupport("aspn2_msgs::idl::SVStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
