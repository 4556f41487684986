#ifndef VICTORY_ORVANESERVER_CLEARDATAREQUEST_H
#define VICTORY_ORVANESERVER_CLEARDATAREQUEST_H

#include "VICTORY/Utilities/ClearDataCommand.h"
#include "VICTORY/libvictory/victory.h"

#include <optional>
#include <string>

/// What a client of the bus asks to be erased, as the unit's own command.
struct ClearDataRequest {
    std::optional<ClearDataCommand::ClearDataType> type;  ///< nothing if the request goes no further
    std::string complaint;                                ///< behind the service's name; empty if there is none
};

/// @param data  null for a request without any: that is a zeroize. What is marked invalid is complained of and goes on
///              as no command, which the command's own check refuses.
ClearDataRequest requestOf(const VapntcSystemData* data);

#endif
