#ifndef ASPN2_MSGS_BITENTRYSTATUS_H
#define ASPN2_MSGS_BITENTRYSTATUS_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_BitEntryStatus(FIELD)                                                                             \
    FIELD(header, header)                                                                                              \
    FIELD(requestedEntryAvailable, boolean)                                                                            \
    FIELD(testCodeOfRequestedEntry, uint8)                                                                             \
    FIELD(subTestCodeOfRequestedEntry, uint8)

/// Whether a requested entry of the built-in test's record is there, and its codes.
ASPN2_RECORD(BitEntryStatus, 47);

}  // namespace aspn2_msgs::idl

#endif
