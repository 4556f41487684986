#ifndef ASPN2_MSGS_BIT_COMP_SETPUBSUBTYPES_H
#define ASPN2_MSGS_BIT_COMP_SETPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/bit_comp_set.h"

namespace aspn2_msgs::idl {

class bit_comp_setPubSubType : public TypeSupport<bit_comp_set> {
public:
    bit_comp_setPubSubType() : TypeSupport("aspn2_msgs::idl::bit_comp_set") {}
};

}  // namespace aspn2_msgs::idl

#endif
