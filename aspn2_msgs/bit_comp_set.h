#ifndef ASPN2_MSGS_BIT_COMP_SET_H
#define ASPN2_MSGS_BIT_COMP_SET_H

#include "aspn2_msgs/Record.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_bit_comp_set(FIELD)                                                                               \
    FIELD(server_id, int32)                                                                                            \
    FIELD(has_communicated, boolean)                                                                                   \
    FIELD(warn_received, boolean)                                                                                      \
    FIELD(error_received, boolean)                                                                                     \
    FIELD(critical_received, boolean)

/// What is known of one server. Nested in `BitReport`. `server_id` is 1 to 125, as in a device id. A server is good if
/// it has communicated and neither an error nor a critical one came from it; a warning does not count.
ASPN2_RECORD(bit_comp_set, 8);

}  // namespace aspn2_msgs::idl

#endif
