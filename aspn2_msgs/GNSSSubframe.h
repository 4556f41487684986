#ifndef ASPN2_MSGS_GNSSSUBFRAME_H
#define ASPN2_MSGS_GNSSSUBFRAME_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_GNSSSubframe(FIELD)                                                                               \
    FIELD(header, header)                                                                                              \
    FIELD(gnss_msg_id, int64)                                                                                          \
    FIELD(prn, int32)                                                                                                  \
    FIELD(subframe_satellite_system, subframe_satellite_system_enum)                                                   \
    FIELD(freq_slot_id, int32)                                                                                         \
    FIELD(num_bytes, int32)                                                                                            \
    FIELD(data_vector, sequence<uint8>)

/// A subframe of the navigation message: `num_bytes` bytes.
ASPN2_RECORD(GNSSSubframe, 176);

}  // namespace aspn2_msgs::idl

#endif
