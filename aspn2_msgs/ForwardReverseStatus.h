#ifndef ASPN2_MSGS_FORWARDREVERSESTATUS_H
#define ASPN2_MSGS_FORWARDREVERSESTATUS_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_ForwardReverseStatus(FIELD)                                                                       \
    FIELD(header, header)                                                                                              \
    FIELD(DirectionInput, DirectionInput_enum)                                                                         \
    FIELD(EstimatedDirection, EstimatedDirection_enum)

/// Whether the vehicle goes forward or in reverse: as it was told, and as it was estimated.
ASPN2_RECORD(ForwardReverseStatus, 52);

}  // namespace aspn2_msgs::idl

#endif
