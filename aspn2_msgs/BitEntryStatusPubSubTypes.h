#ifndef ASPN2_MSGS_BITENTRYSTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_BITENTRYSTATUSPUBSUBTYPES_H

#include "aspn2_msgs/BitEntryStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class BitEntryStatusPubSubType : public TypeSupport<BitEntryStatus> {
public:
    BitEntryStatusPubSubType() : TypeSupport("aspn2_msgs::idl::BitEntryStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
