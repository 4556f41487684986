#include "VICTORY/OrvaneServer/ManagementData.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "face/FACE_Text.h"
#include "utilities/ConsoleLine.h"
#include "utilities/StringUtils.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <memory>
#include <tuple>
#include <vector>

namespace {

using StringUtils::copyText;

/// Numbers of the library's list of outputs.
constexpr std::int32_t kOutputs[] = {0, 1, 2, 3, 5};
constexpr std::int32_t kAllOutputs[] = {0, 1, 2, 4, 6, 3, 5};

VapntcSensor sensorOf(const OrvaneBitResults::SensorServer& server)
{
    VapntcSensor row = {};
    copyText(row.sensorId, FACE::textOf(server.sensorId));
    row.sensorType = server.sensorTypeEnum;
    copyText(row.otherSensorType, FACE::textOf(server.otherSensorType));
    row.otherSensorTypePresent = server.hasOtherSensorType;
    copyText(row.componentConfigurationId, FACE::textOf(server.componentConfigurationId));
    row.componentConfigurationIdPresent = server.hasComponentConfigurationId;
    row.enabled = server.enabled;
    return row;
}

}  // namespace

void ManagementData::tellAvailableOutputs(VapntsService* service, bool allOutputs)
{
    VapntcAvailableOutputs outputs = {};
    const auto fill = [&outputs](const auto& numbers) {
        std::copy(std::begin(numbers), std::end(numbers), outputs.outputs);
        outputs.outputCount = static_cast<std::int32_t>(std::size(numbers));
    };
    allOutputs ? fill(kAllOutputs) : fill(kOutputs);
    std::ignore = VictoryLibrary::tell(service, outputs);
}

void ManagementData::tellAvailableSensors(VapntsService* service, OrvaneBitResults& bitResults,
                                          const ServerSettings& settings)
{
    std::vector<OrvaneBitResults::SensorServer> servers;
    bitResults.getBitSensorServers(servers);
    if (settings.m_debug) printLine(std::cout, "sensorServerList size fetched from m_bitFeatures = ", servers.size());
    const auto sensors = std::make_unique<VapntcAvailableSensors>();
    for (const auto& server : servers) {
        if (sensors->sensorCount >= VAPNTC_MAX_ROWS) {
            Reports::sendEvent(EventTypes::EVENT_FAULT,
                               settings.m_serverName + ": Only the first 50 sensors are told to the APNT service.");
            break;
        }
        sensors->sensors[sensors->sensorCount++] = sensorOf(server);
    }
    if (settings.m_debug) {
        printLine(std::cout, "numberOfSensors =  ", sensors->sensorCount);
        for (const auto& server : servers) printLine(std::cout, server);
    }
    std::ignore = VictoryLibrary::tell(service, *sensors);
}

void ManagementData::initVictoryDefaultVDMData(VapntsService* service)
{
    VapntcBlendedNavigationRecord record = {};
    record.fom = 9;
    record.tfom = 9;
    record.efom = 1;
    record.gpsAvailability = VAPNTC_GPS_AVAILABLE;
    std::ignore = VictoryLibrary::tell(service, record);
}
