#ifndef ASPN2_MSGS_HALVEXPNT_H
#define ASPN2_MSGS_HALVEXPNT_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_HalvexPNT(FIELD)                                                                                  \
    FIELD(header, header)                                                                                              \
    FIELD(GPS_Time, float64, "s")                                                                                      \
    FIELD(UTC_Time, float64, "s")                                                                                      \
    FIELD(ECEF_Pos_X, float64, "m")                                                                                    \
    FIELD(ECEF_Pos_Y, float64, "m")                                                                                    \
    FIELD(ECEF_Pos_Z, float64, "m")                                                                                    \
    FIELD(ECEF_Vel_X, float64, "m/s")                                                                                  \
    FIELD(ECEF_Vel_Y, float64, "m/s")                                                                                  \
    FIELD(ECEF_Vel_Z, float64, "m/s")                                                                                  \
    FIELD(Roll, float64, "rad")                                                                                        \
    FIELD(Pitch, float64, "rad")                                                                                       \
    FIELD(Heading, float64, "rad")                                                                                     \
    FIELD(Horz_PosError, float64, "m")                                                                                 \
    FIELD(Vert_PosError, float64, "m")                                                                                 \
    FIELD(Horz_Vel_Error, float64, "m/s")                                                                              \
    FIELD(Vert_VelError, float64, "m/s")                                                                               \
    FIELD(Time_Error, float64, "s")                                                                                    \
    FIELD(Roll_Error, float64, "rad")                                                                                  \
    FIELD(Pitch_Error, float64, "rad")                                                                                 \
    FIELD(Heading_Error, float64, "rad")                                                                               \
    FIELD(GPS_Week, int64)                                                                                             \
    FIELD(HX_PNT_Solution_Assurance, HX_PNT_Solution_Assurance_enum)

/// The blended solution: time, position and velocity in the Earth-centred Earth-fixed frame, attitude, and the errors
/// that go with them. The spelling of the names is deliberate: other services of the unit use them.
///
/// The service reads the errors of position, velocity and angles alone, takes the horizontal one of the position as a
/// standard deviation, and tests none for its range. The rest is as `unit-sim` sends it: `GPS_Time` in the GPS
/// week, `UTC_Time` in the UTC day, `GPS_Week` without rollovers, and the assurance by the numbers of `AssuranceState`.
ASPN2_RECORD(HalvexPNT, 212);

}  // namespace aspn2_msgs::idl

#endif
