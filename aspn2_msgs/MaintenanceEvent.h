#ifndef ASPN2_MSGS_MAINTENANCEEVENT_H
#define ASPN2_MSGS_MAINTENANCEEVENT_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/lru_comp_set.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_MaintenanceEvent(FIELD)                                                                           \
    FIELD(header, header)                                                                                              \
    FIELD(fault_sources, lru_comp_set[4])                                                                              \
    FIELD(criticality_id, int32)                                                                                       \
    FIELD(category_id, int32)                                                                                          \
    FIELD(location_id, int32)                                                                                          \
    FIELD(outcome_id, int32)                                                                                           \
    FIELD(repeat_in_seconds, int32, "s")                                                                               \
    FIELD(identity, char[16])                                                                                          \
    FIELD(description, char[56])

/// A maintenance event. `identity` and `description` are fixed arrays, which travel whole whatever their text, of at
/// most 15 and 55 characters. `location_id` is 0 to 255; a fault source of zeros is none; `repeat_in_seconds` is sent
/// as it is given, and repeats nothing.
ASPN2_RECORD(MaintenanceEvent, 168);

}  // namespace aspn2_msgs::idl

#endif
