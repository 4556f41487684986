#ifndef ASPN2_MSGS_KEY_TYPE_SETPUBSUBTYPES_H
#define ASPN2_MSGS_KEY_TYPE_SETPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/key_type_set.h"

namespace aspn2_msgs::idl {

class key_type_setPubSubType : public TypeSupport<key_type_set> {
public:
    key_type_setPubSubType() : TypeSupport("aspn2_msgs::idl::key_type_set") {}
};

}  // namespace aspn2_msgs::idl

#endif
