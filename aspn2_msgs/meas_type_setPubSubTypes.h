#ifndef ASPN2_MSGS_MEAS_TYPE_SETPUBSUBTYPES_H
#define ASPN2_MSGS_MEAS_TYPE_SETPUBSUBTYPES_H

#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/meas_type_set.h"

namespace aspn2_msgs::idl {

class meas_type_setPubSubType : public TypeSupport<meas_type_set> {
public:
    meas_type_setPubSubType() : TypeSupport("aspn2_msgs::idl::meas_type_set") {}
};

}  // namespace aspn2_msgs::idl

#endif
