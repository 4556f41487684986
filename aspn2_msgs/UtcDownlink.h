#ifndef ASPN2_MSGS_UTCDOWNLINK_H
#define ASPN2_MSGS_UTCDOWNLINK_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_UtcDownlink(FIELD)                                                                                \
    FIELD(header, header)                                                                                              \
    FIELD(a0, float64)                                                                                                 \
    FIELD(a1, float64)                                                                                                 \
    FIELD(tot, int32)                                                                                                  \
    FIELD(WNt, int32)                                                                                                  \
    FIELD(delta_t_ls, int32)                                                                                           \
    FIELD(wn_lsf, int32)                                                                                               \
    FIELD(dn, int32)                                                                                                   \
    FIELD(delta_t_lsf, int32)

/// The parameters by which GPS time becomes UTC, as the satellites send them.
ASPN2_RECORD(UtcDownlink, 88);

}  // namespace aspn2_msgs::idl

#endif
