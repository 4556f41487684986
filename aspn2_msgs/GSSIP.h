#ifndef ASPN2_MSGS_GSSIP_H
#define ASPN2_MSGS_GSSIP_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_GSSIP(FIELD)                                                                                      \
    FIELD(header, header)                                                                                              \
    FIELD(num_bytes, int32)                                                                                            \
    FIELD(data, sequence<uint8>)

/// One GSSIP frame as bytes, `num_bytes` of them.
ASPN2_RECORD(GSSIP, 152);

}  // namespace aspn2_msgs::idl

#endif
