#ifndef ASPN2_MSGS_SV_SET_H
#define ASPN2_MSGS_SV_SET_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_sv_set(FIELD)                                                                                     \
    FIELD(svid, int32)                                                                                                 \
    FIELD(rinex3_gnss_enum, rinex3_gnss_enum_enum)                                                                     \
    FIELD(healthy, boolean)                                                                                            \
    FIELD(azimuth, int32)                                                                                              \
    FIELD(elevation, int32)                                                                                            \
    FIELD(rising, boolean)

/// One satellite. Nested in `SVStatus`.
ASPN2_RECORD(sv_set, 21);

}  // namespace aspn2_msgs::idl

#endif
