#ifndef ASPN2_MSGS_SV_SETPUBSUBTYPES_H
#define ASPN2_MSGS_SV_SETPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/sv_set.h"

namespace aspn2_msgs::idl {

class sv_setPubSubType : public TypeSupport<sv_set> {
public:
    sv_setPubSubType() : TypeSupport("aspn2_msgs::idl::sv_set") {}
};

}  // namespace aspn2_msgs::idl

#endif
