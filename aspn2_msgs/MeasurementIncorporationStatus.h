#ifndef ASPN2_MSGS_MEASUREMENTINCORPORATIONSTATUS_H
#define ASPN2_MSGS_MEASUREMENTINCORPORATIONSTATUS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/meas_type_set.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_MeasurementIncorporationStatus(FIELD)                                                             \
    FIELD(header, header)                                                                                              \
    FIELD(num_measurement_types, int32)                                                                                \
    FIELD(meas_types, sequence<meas_type_set>)

/// Which measurements went into the solution, one entry a type. `num_measurement_types` is sent as the number of
/// entries, and not read.
ASPN2_RECORD(MeasurementIncorporationStatus, 1252);

}  // namespace aspn2_msgs::idl

#endif
