#ifndef ASPN2_MSGS_BITREPORT_H
#define ASPN2_MSGS_BITREPORT_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/bit_comp_set.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_BitReport(FIELD)                                                                                  \
    FIELD(header, header)                                                                                              \
    FIELD(bit_rollup, boolean)                                                                                         \
    FIELD(num_servers_expected, int32)                                                                                 \
    FIELD(num_servers_available, int32)                                                                                \
    FIELD(bit_components, sequence<bit_comp_set>)

/// The built-in test by server. `bit_rollup` is the result over all of them, true for passed. The numbers of servers
/// are not read.
ASPN2_RECORD(BitReport, 860);

}  // namespace aspn2_msgs::idl

#endif
