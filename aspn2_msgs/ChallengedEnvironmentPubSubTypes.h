#ifndef ASPN2_MSGS_CHALLENGEDENVIRONMENTPUBSUBTYPES_H
#define ASPN2_MSGS_CHALLENGEDENVIRONMENTPUBSUBTYPES_H

#include "aspn2_msgs/ChallengedEnvironment.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class ChallengedEnvironmentPubSubType : public TypeSupport<ChallengedEnvironment> {
public:
    ChallengedEnvironmentPubSubType() : TypeSupport("aspn2_msgs::idl::ChallengedEnvironment") {}
};

}  // namespace aspn2_msgs::idl

#endif
