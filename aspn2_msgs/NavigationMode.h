#ifndef ASPN2_MSGS_NAVIGATIONMODE_H
#define ASPN2_MSGS_NAVIGATIONMODE_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_NavigationMode(FIELD)                                                                             \
    FIELD(header, header)                                                                                              \
    FIELD(navigation_mode, navigation_mode_enum)

/// The navigation mode that was taken.
ASPN2_RECORD(NavigationMode, 48);

}  // namespace aspn2_msgs::idl

#endif
