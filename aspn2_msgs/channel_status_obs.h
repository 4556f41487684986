#ifndef ASPN2_MSGS_CHANNEL_STATUS_OBS_H
#define ASPN2_MSGS_CHANNEL_STATUS_OBS_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_channel_status_obs(FIELD)                                                                         \
    FIELD(prn, int32)                                                                                                  \
    FIELD(channel, int32)                                                                                              \
    FIELD(rinex3_satellite_system, rinex3_satellite_system_enum)                                                       \
    FIELD(rinex3_band, rinex3_band_enum)                                                                               \
    FIELD(rinex3_attribute, rinex3_attribute_enum)                                                                     \
    FIELD(gnss_tracking_status, gnss_tracking_status_enum)                                                             \
    FIELD(carrier_to_noise, float32)                                                                                   \
    FIELD(jammer_to_signal, float32)                                                                                   \
    FIELD(used_in_solution, boolean)                                                                                   \
    FIELD(gnss_corrections_used, gnss_corrections_used_enum)                                                           \
    FIELD(assurance_level, assurance_level_enum)

/// One channel. Nested in `ChannelStatus`.
ASPN2_RECORD(channel_status_obs, 44);

}  // namespace aspn2_msgs::idl

#endif
