#include "ASPN/HealthReporter.h"
#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "face/FACE_Text.h"
#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

using FACE::RETURN_CODE_TYPE;
using SensorServer = OrvaneBitResults::SensorServer;

const std::map<std::string, VapntcSensorType> MapSensorStringToSensorTypeEnum = {
    {"VAPNTC_SENSOR_TYPE_INVALID", VAPNTC_SENSOR_TYPE_INVALID},
    {"VAPNTC_SENSOR_TYPE_GPS", VAPNTC_SENSOR_TYPE_GPS},
    {"VAPNTC_SENSOR_TYPE_BEIDOU_GNSS", VAPNTC_SENSOR_TYPE_BEIDOU_GNSS},
    {"VAPNTC_SENSOR_TYPE_GALILEO_GNSS", VAPNTC_SENSOR_TYPE_GALILEO_GNSS},
    {"VAPNTC_SENSOR_TYPE_GLONASS_GNSS", VAPNTC_SENSOR_TYPE_GLONASS_GNSS},
    {"VAPNTC_SENSOR_TYPE_IRNSS_GNSS", VAPNTC_SENSOR_TYPE_IRNSS_GNSS},
    {"VAPNTC_SENSOR_TYPE_QZSS_GNSS", VAPNTC_SENSOR_TYPE_QZSS_GNSS},
    {"VAPNTC_SENSOR_TYPE_ALTNAV", VAPNTC_SENSOR_TYPE_ALTNAV},
    {"VAPNTC_SENSOR_TYPE_INERTIAL", VAPNTC_SENSOR_TYPE_INERTIAL},
    {"VAPNTC_SENSOR_TYPE_SPEED_SENSOR", VAPNTC_SENSOR_TYPE_SPEED_SENSOR},
    {"VAPNTC_SENSOR_TYPE_PRECISION_TIME_SOURCE", VAPNTC_SENSOR_TYPE_PRECISION_TIME_SOURCE},
    {"VAPNTC_SENSOR_TYPE_OPTICAL", VAPNTC_SENSOR_TYPE_OPTICAL},
    {"VAPNTC_SENSOR_TYPE_MAGNETIC", VAPNTC_SENSOR_TYPE_MAGNETIC},
    {"VAPNTC_SENSOR_TYPE_RADAR", VAPNTC_SENSOR_TYPE_RADAR},
    {"VAPNTC_SENSOR_TYPE_RADIO", VAPNTC_SENSOR_TYPE_RADIO},
    {"VAPNTC_SENSOR_TYPE_STEP_BASED_NAVIGATION", VAPNTC_SENSOR_TYPE_STEP_BASED_NAVIGATION},
    {"VAPNTC_SENSOR_TYPE_PRESSURE_BASED_NAVIGATION", VAPNTC_SENSOR_TYPE_PRESSURE_BASED_NAVIGATION},
    {"VAPNTC_SENSOR_TYPE_CELESTIAL_NAVIGATION", VAPNTC_SENSOR_TYPE_CELESTIAL_NAVIGATION},
    {"VAPNTC_SENSOR_TYPE_SIGNALS_OF_OPPORTUNITY_RADIO", VAPNTC_SENSOR_TYPE_SIGNALS_OF_OPPORTUNITY_RADIO},
    {"VAPNTC_SENSOR_TYPE_ENHANCED_LONG_RANGE_NAVIGATION", VAPNTC_SENSOR_TYPE_ENHANCED_LONG_RANGE_NAVIGATION},
    {"VAPNTC_SENSOR_TYPE_OTHER", VAPNTC_SENSOR_TYPE_OTHER},
};

namespace {

constexpr const char* kContainer = "Sensor";

/// Reads the keys of one sensor. A key that can't be read leaves its value as it is, and is told on the console.
class SensorReader {
public:
    SensorReader(FACE::Configuration& config, int handle, const std::string& name)
        : m_config(config), m_handle(handle), m_name(name)
    {}

    void read(const char* key, FACE::String& value, int line = __builtin_LINE())
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        HX_Config_Helpers::Get_String_Parameter(m_config, m_handle, key, value, code);
        if (!value.is_valid()) throw std::bad_alloc();  // the text is there
        report(code, key, line);
    }

    void read(const char* key, bool& value, int line = __builtin_LINE())
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        HX_Config_Helpers::Get_Boolean_Parameter(m_config, m_handle, key, value, code);
        report(code, key, line);
    }

private:
    void report(RETURN_CODE_TYPE::Value code, const char* key, int line) const
    {
        if (code == RETURN_CODE_TYPE::NO_ERROR) return;
        printLine(std::cout, m_name, "(", line, ") GetConfigParameters : error or could not find setting, ", key, " (",
                  key, ") in configuration file!");
    }

    FACE::Configuration& m_config;
    const int m_handle;
    const std::string& m_name;
};

/// A hexadecimal number, with 0x or without, as `strtoul` converts it where `unsigned long` has 32 bits, on every
/// machine; its low 16 bits.
std::uint16_t componentNumber(const std::string& text)
{
    constexpr long long kMax = 0xFFFFFFFF;
    const long long value = std::strtoll(text.c_str(), nullptr, 16);
    if (value > kMax || value < -kMax) return 0xFFFF;
    return static_cast<std::uint16_t>(value);
}

/// The rest of an enabled sensor. Throws `std::out_of_range` for an unknown type.
void readDetails(SensorReader& reader, SensorServer& server)
{
    reader.read("SensorType", server.sensorType);
    server.sensorTypeEnum = MapSensorStringToSensorTypeEnum.at(FACE::textOf(server.sensorType));
    reader.read("HasOtherSensorType", server.hasOtherSensorType);
    if (server.hasOtherSensorType) reader.read("OtherSensorType", server.otherSensorType);
    reader.read("ComponentConfigurationId", server.componentConfigurationId);
    reader.read("HasComponentConfigurationId", server.hasComponentConfigurationId);
    if (server.hasComponentConfigurationId)
        server.componentConfigurationIdNumber = componentNumber(FACE::textOf(server.componentConfigurationId));
}

void reportDisabled(const SensorServer& server, const std::string& path)
{
    const std::string text =
        "OrvaneBitResults: Warning sensorId, " + FACE::textOf(server.sensorId) + " is disabled in " + path;
    SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, text.c_str());
    printLine(std::cout, text);
}

/// Appends the enabled sensors of a file that has been read; what was appended stays when it throws.
void readSensors(FACE::HX_Config& config, const std::string& path, const std::string& name, bool debug,
                 std::vector<SensorServer>& servers)
{
    int handle = 0;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    config.Open(kContainer, handle, code);
    for (; code == RETURN_CODE_TYPE::NO_ERROR;
         config.Seek(handle, FACE::Configuration::WHENCE_TYPE::WHENCE_CURRENT, 1, code)) {
        SensorServer server;
        SensorReader reader(config, handle, name);
        reader.read("SensorId", server.sensorId);
        reader.read("Enabled", server.enabled);
        if (!server.enabled) {
            reportDisabled(server, path);
            continue;
        }
        readDetails(reader, server);
        servers.push_back(server);
        if (debug) {
            printLine(std::cout, "numberOfSensors =  ", servers.size());
            printLine(std::cout, server);
        }
    }
    if (!std::ranges::all_of(servers, &SensorServer::isWhole)) throw std::bad_alloc();
}

const char* wordOf(bool flag)
{
    return flag ? "true" : "false";
}

}  // namespace

bool SensorServer::isWhole() const
{
    return sensorId.is_valid() && sensorType.is_valid() && otherSensorType.is_valid() &&
           componentConfigurationId.is_valid();
}

bool OrvaneBitResults::Initialize(const std::string& name, int timeoutSeconds, bool debug)
{
    {
        const MutexLock lock(m_resultsMutex);
        m_name = name;
    }
    m_timeoutSeconds = timeoutSeconds;
    m_debug = debug;

    std::vector<SensorServer> servers;
    bool isBegun = false, isRead = false;
    try {
        FACE::HX_Config config;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        config.Initialize(m_sensorFile.c_str(), code);
        if (code != RETURN_CODE_TYPE::NO_ERROR) {
            const std::string text = name + ": Could not initialize configuration file: " + m_sensorFile + " " +
                                     FACE::textOf(RETURN_CODE_TYPE::ToString(code));
            SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, text.c_str());
            return false;
        }
        isBegun = true;
        readSensors(config, m_sensorFile, name, debug, servers);
        if (debug) printLine(std::cout, "m_serverCount =  ", servers.size());
        isRead = true;
    } catch (const std::exception& error) {
        const std::string text = "OrvaneBitResults: : Could not initialize configuration file " + m_sensorFile +
                                 ". Details: " + error.what();
        printLine(std::cerr, text);
        SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, text.c_str());
        if (!isBegun) return false;  // the list is the one from before; otherwise the rows that were read stay
    }
    std::erase_if(servers, [](const SensorServer& server) { return !server.isWhole(); });
    const MutexLock lock(m_resultsMutex);
    m_sensorServers.swap(servers);
    m_serverCount = m_sensorServers.size();
    return isRead;
}

std::ostream& operator<<(std::ostream& stream, const SensorServer& server)
{
    return stream << "<OrvaneBitResults::server>"                                                     //
                  << "\nsensorId: " << FACE::textOf(server.sensorId)                                  //
                  << "\nsensorType: " << FACE::textOf(server.sensorType)                              //
                  << "\nsensorTypeEnum: " << server.sensorTypeEnum                                    //
                  << "\notherSensorType: " << FACE::textOf(server.otherSensorType)                    //
                  << "\nhasOtherSensorType: " << wordOf(server.hasOtherSensorType)                    //
                  << "\ncomponentConfigurationId: " << FACE::textOf(server.componentConfigurationId)  //
                  << "\ncomponentConfigurationIdNumber: " << server.componentConfigurationIdNumber    //
                  << "\nhasComponentConfigurationId: " << wordOf(server.hasComponentConfigurationId)  //
                  << "\nenabled: " << wordOf(server.enabled);
}
