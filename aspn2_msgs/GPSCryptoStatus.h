#ifndef ASPN2_MSGS_GPSCRYPTOSTATUS_H
#define ASPN2_MSGS_GPSCRYPTOSTATUS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/key_type_set.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_GPSCryptoStatus(FIELD)                                                                            \
    FIELD(header, header)                                                                                              \
    FIELD(num_key_types, int32)                                                                                        \
    FIELD(key_types, sequence<key_type_set>)

/// The state of the receiver's keys.
ASPN2_RECORD(GPSCryptoStatus, 2052);

}  // namespace aspn2_msgs::idl

#endif
