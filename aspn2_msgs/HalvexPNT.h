#ifndef ASPN2_MSGS_HALVEXPNT_H
#define ASPN2_MSGS_HALVEXPNT_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_HalvexPNT(FIELD)                                                                                  \
    FIELD(header, header)                                                                                              \
    FIELD(GPS_Time, float64)                                                                                           \
    FIELD(UTC_Time, float64)                                                                                           \
    FIELD(ECEF_Pos_X, float64)                                                                                         \
    FIELD(ECEF_Pos_Y, float64)                                                                                         \
    FIELD(ECEF_Pos_Z, float64)                                                                                         \
    FIELD(ECEF_Vel_X, float64)                                                                                         \
    FIELD(ECEF_Vel_Y, float64)                                                                                         \
    FIELD(ECEF_Vel_Z, float64)                                                                                         \
    FIELD(Roll, float64)                                                                                               \
    FIELD(Pitch, float64)                                                                                              \
    FIELD(Heading, float64)                                                                                            \
    FIELD(Horz_PosError, float64)                                                                                      \
    FIELD(Vert_PosError, float64)                                                                                      \
    FIELD(Horz_Vel_Error, float64)                                                                                     \
    FIELD(Vert_VelError, float64)                                                                                      \
    FIELD(Time_Error, float64)                                                                                         \
    FIELD(Roll_Error, float64)                                                                                         \
    FIELD(Pitch_Error, float64)                                                                                        \
    FIELD(Heading_Error, float64)                                                                                      \
    FIELD(GPS_Week, int64)                                                                                             \
    FIELD(HX_PNT_Solution_Assurance, HX_PNT_Solution_Assurance_enum)

/// The blended solution: time, position and velocity in the Earth-centred Earth-fixed frame, attitude, and the errors
/// that go with them. The spelling of the names is deliberate: other services of the unit use them.
ASPN2_RECORD(HalvexPNT, 212);

}  // namespace aspn2_msgs::idl

#endif
