#ifndef ASPN2_MSGS_CHALLENGEDENVIRONMENT_H
#define ASPN2_MSGS_CHALLENGEDENVIRONMENT_H

#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"
#include "aspn2_msgs/interference_type_set.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_ChallengedEnvironment(FIELD)                                                                      \
    FIELD(header, header)                                                                                              \
    FIELD(num_interference_types, int32)                                                                               \
    FIELD(interference_types, sequence<interference_type_set>)

/// The interference that a receiver meets.
ASPN2_RECORD(ChallengedEnvironment, 1652);

}  // namespace aspn2_msgs::idl

#endif
