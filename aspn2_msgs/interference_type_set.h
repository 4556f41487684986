#ifndef ASPN2_MSGS_INTERFERENCE_TYPE_SET_H
#define ASPN2_MSGS_INTERFERENCE_TYPE_SET_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_interference_type_set(FIELD)                                                                      \
    FIELD(interference_band, interference_band_enum)                                                                   \
    FIELD(interference_signal, interference_signal_enum)                                                               \
    FIELD(interference_type, interference_type_enum)                                                                   \
    FIELD(interference_value, int32)

/// One interference. Nested in `ChallengedEnvironment`.
ASPN2_RECORD(interference_type_set, 16);

}  // namespace aspn2_msgs::idl

#endif
