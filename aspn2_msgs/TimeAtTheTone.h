#ifndef ASPN2_MSGS_TIMEATTHETONE_H
#define ASPN2_MSGS_TIMEATTHETONE_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_TimeAtTheTone(FIELD) FIELD(header, header)

/// A header alone: the event is its own information.
ASPN2_RECORD(TimeAtTheTone, 44);

}  // namespace aspn2_msgs::idl

#endif
