#ifndef ASPN2_MSGS_LRU_COMP_SETPUBSUBTYPES_H
#define ASPN2_MSGS_LRU_COMP_SETPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/lru_comp_set.h"

namespace aspn2_msgs::idl {

class lru_comp_setPubSubType : public TypeSupport<lru_comp_set> {
public:
    lru_comp_setPubSubType() : TypeSupport("aspn2_msgs::idl::lru_comp_set") {}
};

}  // namespace aspn2_msgs::idl

#endif
