#ifndef VICTORY_ORVANESERVER_MANAGEMENTDATA_H
#define VICTORY_ORVANESERVER_MANAGEMENTDATA_H

#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/libvictory/victory.h"

/// What a service of the bus is told before it starts, so that it has something to answer with. Any thread; what the
/// library answers means nothing here.
namespace ManagementData {

/// The outputs of the unit.
/// @param allOutputs  the longer list
void tellAvailableOutputs(VapntsService* service, bool allOutputs);

/// The sensors of the unit, the first 50 of them, with an event if there are more.
void tellAvailableSensors(VapntsService* service, OrvaneBitResults& bitResults, const ServerSettings& settings);

/// A Blended Navigation record without a solution: the worst figures of merit, GPS not known to be lost, nothing valid.
void initVictoryDefaultVDMData(VapntsService* service);

}  // namespace ManagementData

#endif
