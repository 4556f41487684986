#ifndef ASPN2_MSGS_SVSTATUS_H
#define ASPN2_MSGS_SVSTATUS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/sv_set.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_SVStatus(FIELD)                                                                                   \
    FIELD(header, header)                                                                                              \
    FIELD(num_svs, int32)                                                                                              \
    FIELD(svs, sequence<sv_set>)

/// The satellites in view.
ASPN2_RECORD(SVStatus, 2449);

}  // namespace aspn2_msgs::idl

#endif
