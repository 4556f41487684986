#ifndef ASPN2_MSGS_INTERFERENCE_TYPE_SETPUBSUBTYPES_H
#define ASPN2_MSGS_INTERFERENCE_TYPE_SETPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/interference_type_set.h"

namespace aspn2_msgs::idl {

class interference_type_setPubSubType : public TypeSupport<interference_type_set> {
public:
    interference_type_setPubSubType() : TypeSupport("aspn2_msgs::idl::interference_type_set") {}
};

}  // namespace aspn2_msgs::idl

#endif
