#ifndef ASPN2_MSGS_MEAS_TYPE_SET_H
#define ASPN2_MSGS_MEAS_TYPE_SET_H

#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_meas_type_set(FIELD)                                                                              \
    FIELD(meas_set_id, int32)                                                                                          \
    FIELD(meas_avail, int32)                                                                                           \
    FIELD(meas_used, int32)

/// Measurements of one type: how many were available, and how many used. Nested in `MeasurementIncorporationStatus`.
/// `meas_set_id` is 0 to 11 where the service knows the type, 1 to 4 for those of GPS; a type counts as used from a
/// `meas_used` of 1 on, 0 even without. Of `meas_avail` the sum over the types 1 and 2 tells whether GPS is lost.
ASPN2_RECORD(meas_type_set, 12);

}  // namespace aspn2_msgs::idl

#endif
