#ifndef ASPN2_MSGS_COMMANDRESPONSE_H
#define ASPN2_MSGS_COMMANDRESPONSE_H

#include "aspn2_msgs/Enumerations.h"
#include "aspn2_msgs/Record.h"
#include "aspn2_msgs/header.h"

namespace aspn2_msgs::idl {

#define ASPN2_FIELDS_CommandResponse(FIELD)                                                                            \
    FIELD(header, header)                                                                                              \
    FIELD(commanded_device_id, int32)                                                                                  \
    FIELD(command_identifier, int32)                                                                                   \
    FIELD(command_response_type, command_response_type_enum)                                                           \
    FIELD(command_response, string)

/// A command to another service of the unit, or the answer to one: they differ in `command_response_type`, which is 0
/// for a command and 1 for an answer. `commanded_device_id` names the addressee, by the id that it sends as
/// `device_id`: an answer goes to who asked, and the service's own commands say 0. `command_identifier` pairs an answer
/// with its command.
ASPN2_RECORD(CommandResponse, 316);

}  // namespace aspn2_msgs::idl

#endif
