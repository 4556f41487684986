#ifndef ASPN2_MSGS_LRU_COMP_SET_H
#define ASPN2_MSGS_LRU_COMP_SET_H

#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_lru_comp_set(FIELD)                                                                               \
    FIELD(lru_id, int32)                                                                                               \
    FIELD(component_id, int32)

/// A component of a replaceable unit, 0 and 0 for none. Nested in `MaintenanceEvent`.
ASPN2_RECORD(lru_comp_set, 8);

}  // namespace aspn2_msgs::idl

#endif
