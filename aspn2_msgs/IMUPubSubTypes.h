#ifndef ASPN2_MSGS_IMUPUBSUBTYPES_H
#define ASPN2_MSGS_IMUPUBSUBTYPES_H

#include "aspn2_msgs/IMU.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class IMUPubSubType : public TypeSupport<IMU> {
public:
    IMUPubSubType() : TypeSupport("aspn2_msgs::idl::IMU") {}
};

}  // namespace aspn2_msgs::idl

#endif
