#ifndef ASPN2_MSGS_EVENTLOG_H
#define ASPN2_MSGS_EVENTLOG_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_EventLog(FIELD)                                                                                   \
    FIELD(header, header)                                                                                              \
    FIELD(event_log_type, event_log_type_enum)                                                                         \
    FIELD(eventlog, string)

/// A health event: its formatted text, and its class, 0 to 5: general, status, information, fault, operation failed,
/// severe.
ASPN2_RECORD(EventLog, 308);

}  // namespace aspn2_msgs::idl

#endif
