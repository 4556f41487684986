#ifndef ASPN2_MSGS_GNSS_OBS_H
#define ASPN2_MSGS_GNSS_OBS_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_gnss_obs(FIELD)                                                                                   \
    FIELD(prn, int32)                                                                                                  \
    FIELD(satellite_system, satellite_system_enum)                                                                     \
    FIELD(type, type_enum)                                                                                             \
    FIELD(band, band_enum)                                                                                             \
    FIELD(attrib, attrib_enum)                                                                                         \
    FIELD(observation, float64)                                                                                        \
    FIELD(LLI, int32)                                                                                                  \
    FIELD(signal_strength, int32)                                                                                      \
    FIELD(lock_count, int32)

/// One observation of one satellite. Nested in `GNSS`.
ASPN2_RECORD(gnss_obs, 44);

}  // namespace aspn2_msgs::idl

#endif
