#ifndef ASPN2_MSGS_GPSLOS_OBS_H
#define ASPN2_MSGS_GPSLOS_OBS_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_gpslos_obs(FIELD)                                                                                 \
    FIELD(prn, int32)                                                                                                  \
    FIELD(channel_state, channel_state_enum)                                                                           \
    FIELD(channel_frequency, channel_frequency_enum)                                                                   \
    FIELD(channel_code, channel_code_enum)                                                                             \
    FIELD(ere, float64)                                                                                                \
    FIELD(c_n0, int32)                                                                                                 \
    FIELD(assurance, assurance_enum)                                                                                   \
    FIELD(pseudorange_measurement_valid, boolean)                                                                      \
    FIELD(pseudorange_measurement, float64)                                                                            \
    FIELD(pseudorange_measurement_variance, float64)                                                                   \
    FIELD(deltarange_measurement_valid, boolean)                                                                       \
    FIELD(deltarange_measurement, float64)                                                                             \
    FIELD(deltarange_measurement_variance, float64)                                                                    \
    FIELD(deltarange_interval, float64)                                                                                \
    FIELD(sv_position_start, float64[3])                                                                               \
    FIELD(sv_position_stop, float64[3])                                                                                \
    FIELD(tropo_correction_applied, boolean)                                                                           \
    FIELD(iono_correction_applied, boolean)                                                                            \
    FIELD(iono_correction_source, iono_correction_source_enum)

/// One line of sight. Nested in `GPSLineOfSight`.
ASPN2_RECORD(gpslos_obs, 144);

}  // namespace aspn2_msgs::idl

#endif
