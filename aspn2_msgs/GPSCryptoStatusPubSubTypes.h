#ifndef ASPN2_MSGS_GPSCRYPTOSTATUSPUBSUBTYPES_H
#define ASPN2_MSGS_GPSCRYPTOSTATUSPUBSUBTYPES_H

#include "aspn2_msgs/GPSCryptoStatus.h"
#include "aspn2_msgs/TypeSupport.h"

namespace aspn2_msgs::idl {

class GPSCryptoStatusPubSubType : public TypeSupport<GPSCryptoStatus> {
public:
    GPSCryptoStatusPubSubType() : TypeSupport("aspn2_msgs::idl::GPSCryptoStatus") {}
};

}  // namespace aspn2_msgs::idl

#endif
