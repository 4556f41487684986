#ifndef ASPN2_MSGS_ASSURANCESTATE_H
#define ASPN2_MSGS_ASSURANCESTATE_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_AssuranceState(FIELD)                                                                             \
    FIELD(header, header)                                                                                              \
    FIELD(assurance_state, assurance_state_enum)

/// How far the solution can be trusted: 0 is not known, 2 is assured (told as a confidence of 0.95), and anything else
/// is less (0.5, as is 0).
ASPN2_RECORD(AssuranceState, 48);

}  // namespace aspn2_msgs::idl

#endif
