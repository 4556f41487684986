#include "lab/ctl/check/ConfigCheck.h"

#include "lab/ctl/check/Checks.h"

#include "face/FACE_Text.h"

namespace orvanectl {

namespace {

constexpr const char* kUnitFolder = "/opt/halvex/config/";
constexpr const char* kSensors = "/opt/halvex/config/HX_Sensor_Data.xml";

}  // namespace

std::string CheckOptions::found(const std::string& path) const
{
    if (folder.empty() || !path.starts_with(kUnitFolder)) return path;
    return (folder.ends_with('/') ? folder : folder + '/') + path.substr(std::string(kUnitFolder).size());
}

Findings checkConfiguration(const CheckOptions& options)
{
    Findings findings(options.onFile);
    ServerSettings settings;
    const auto named = checkServerFile(options, settings, findings);
    const std::string connections = FACE::textOf(settings.m_connectionsFile);
    const std::string devices = FACE::textOf(settings.m_ioDevicesFile);
    const bool looksAtMachine = options.folder.empty();
    if (!connections.empty()) checkConnections(options.found(connections), memoryOfService(looksAtMachine), findings);
    if (!devices.empty()) checkDevices(options.found(devices), looksAtMachine, findings);
    checkBusFiles(options.found(settings.m_victoryConfigurationFile), options.found(settings.m_vclFile), findings);
    const std::string sensors = options.found(kSensors);
    checkSources(options.file, named, sensors, checkSensors(sensors, findings), findings);
    return findings;
}

}  // namespace orvanectl
