#ifndef ASPN2_MSGS_GEODETICPOSITION3D_TYPE_H
#define ASPN2_MSGS_GEODETICPOSITION3D_TYPE_H

#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_geodeticposition3d_type(FIELD)                                                                    \
    FIELD(latitude, float64, "rad")                                                                                    \
    FIELD(longitude, float64, "rad")                                                                                   \
    FIELD(altitude, float64, "m")

/// A place by latitude, longitude and altitude. The service reads none; radians, and metres above the WGS-84 ellipsoid,
/// are what `unit-sim` sends.
ASPN2_RECORD(geodeticposition3d_type, 24);

}  // namespace aspn2_msgs::idl

#endif
