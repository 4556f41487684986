#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "face/FACE_Text.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"
#include "utilities/StringUtils.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <tuple>

namespace {

using StringUtils::copyText;

constexpr const char* partNumberIncompleteText = " - Collecting system information. Please wait and retry...";
constexpr int kConfigurationWaitSeconds = 12;

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

bool OrvaneServer::initVictoryDefaultManagementData()
{
    // The service has been made and not yet started: it is nobody else's.
    VapntsService* const service = m_service;

    VapntcAvailableOutputs outputs = {};
    const auto fill = [&outputs](const auto& numbers) {
        std::copy(std::begin(numbers), std::end(numbers), outputs.outputs);
        outputs.outputCount = static_cast<std::int32_t>(std::size(numbers));
    };
    m_allOutputs ? fill(kAllOutputs) : fill(kOutputs);
    std::ignore = VictoryLibrary::tell(service, outputs);

    if (!m_sanitizeRequested) {  // the configuration has been wiped otherwise
        const MutexLock lock(m_apntConfigurationMutex);
        updateSystemConfiguration(std::string("Kolt Gen II") + partNumberIncompleteText, "", "", "", "9XQ27");
        std::ignore = VictoryLibrary::tell(service, m_systemConfiguration);
    }

    std::vector<OrvaneBitResults::SensorServer> servers;
    m_bitResults.getBitSensorServers(servers);
    if (m_debug) printLine(std::cout, "sensorServerList size fetched from m_bitFeatures = ", servers.size());
    const auto sensors = std::make_unique<VapntcAvailableSensors>();
    for (const auto& server : servers) {
        if (sensors->sensorCount >= VAPNTC_MAX_ROWS) {
            Reports::sendEvent(EventTypes::EVENT_FAULT,
                               m_serverName + ": Only the first 50 sensors are told to the APNT service.");
            break;
        }
        sensors->sensors[sensors->sensorCount++] = sensorOf(server);
    }
    if (m_debug) {
        printLine(std::cout, "numberOfSensors =  ", sensors->sensorCount);
        for (const auto& server : servers) printLine(std::cout, server);
    }
    std::ignore = VictoryLibrary::tell(service, *sensors);
    return true;
}

bool OrvaneServer::initVictoryDefaultVDMData()
{
    // The worst figures of merit; GPS is not known to be lost. Nothing counts as valid.
    VapntcBlendedNavigationRecord record = {};
    record.fom = 9;
    record.tfom = 9;
    record.efom = 1;
    record.gpsAvailability = VAPNTC_GPS_AVAILABLE;
    std::ignore = VictoryLibrary::tell(m_service, record);
    return true;
}

void OrvaneServer::updateSystemConfiguration(const std::string& name, const std::string& serialNumber,
                                             const std::string& software, const std::string& hardware,
                                             const std::string& manufacturerCode)
{
    auto& configuration = m_systemConfiguration;
    copyText(configuration.systemName, name);
    copyText(configuration.systemSerialNumber, serialNumber.empty() ? "N/A" : serialNumber);
    copyText(configuration.systemSoftware, software);
    configuration.softwarePresent = !software.empty();
    copyText(configuration.systemHardware, hardware);
    configuration.hardwarePresent = !hardware.empty();
    std::fill(std::begin(configuration.manufacturerCode), std::end(configuration.manufacturerCode), '\0');
    std::copy_n(manufacturerCode.begin(), std::min(manufacturerCode.size(), sizeof configuration.manufacturerCode),
                configuration.manufacturerCode);
    configuration.manufacturerCodePresent = !manufacturerCode.empty();
}

void OrvaneServer::clearApntConfiguration()
{
    whileStarted(
        [](VapntsService* service) { std::ignore = VictoryLibrary::tell(service, VapntcSystemConfiguration{}); });
}

void OrvaneServer::cbTellSystemConfigurationCallback(void* context, VapntsService*) noexcept
{
    shielded(
        [&] {
            if (!context) {
                Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                                      "OrvaneServer: instance pointer was not found in VICTORY "
                                      "cbTellSystemConfigurationCallback, callbackData parameter");
                return;
            }
            static_cast<OrvaneServer*>(context)->awaitSystemConfiguration();
        },
        [&](const char* what) {
            Reports::sendEvent(
                EventTypes::EVENT_FAULT,
                what
                    ? std::string(
                          "OrvaneServer: An exception occurred in cbTellSystemConfigurationCallback. Details: ") +
                          what
                    : std::string("OrvaneServer: Unknown c++ exception occurred in cbTellSystemConfigurationCallback"));
        });
}

void OrvaneServer::awaitSystemConfiguration()
{
    if (!m_victoryStarted) {
        Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                              m_serverName + " : Cannot request part numbers while APNT service is not running!");
        return;
    }
    if (m_debug)
        Reports::sendAndPrint(EventTypes::EVENT_INFORMATION,
                              m_serverName + " : VICTORY APNT Configuration / Part number request received.");
    // The configuration is told as it is collected, so there is nothing to tell here.
    if (waitForPartNumberResponses(kConfigurationWaitSeconds)) return;
    Reports::sendAndPrint(
        EventTypes::EVENT_FAULT,
        m_serverName + " : Warning! Complete set of part numbers was not available for APNT Configuration after " +
            std::to_string(kConfigurationWaitSeconds) + " seconds.");
}
