#ifndef ASPN2_MSGS_KEY_TYPE_SET_H
#define ASPN2_MSGS_KEY_TYPE_SET_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_key_type_set(FIELD)                                                                               \
    FIELD(key_type, key_type_enum)                                                                                     \
    FIELD(remaining_key_time, int32)                                                                                   \
    FIELD(key_status, key_status_enum)                                                                                 \
    FIELD(key_load_status, key_load_status_enum)                                                                       \
    FIELD(key_zeroization_status, key_zeroization_status_enum)

/// One type of key. Nested in `GPSCryptoStatus`.
ASPN2_RECORD(key_type_set, 20);

}  // namespace aspn2_msgs::idl

#endif
