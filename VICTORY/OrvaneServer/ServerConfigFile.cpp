#include "VICTORY/OrvaneServer/ServerConfigFile.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "face/FACE_Text.h"
#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"
#include "utilities/ConsoleLine.h"
#include "utilities/StringUtils.h"
#include "utilities/scheduling.h"

#include <cerrno>
#include <concepts>
#include <cstdlib>
#include <iostream>
#include <vector>

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr const char* kSourceUnit = "OrvaneServer";
constexpr const char* kFunction = "GetConfigParameters";
constexpr const char* kTwoValuesNotFound =
    ": Warning, two values not found for clear data req timeout and clear data timeout. Using defaults.";

/// A key of the service's section. The line is part of the message that reports the key, whatever line it stands on.
struct Key {
    const char* name;
    const char* description;
    int line;
};

constexpr Key kConnections = {"Connections", "Connections file", 186};
constexpr Key kIODevices = {"IODevices", "Devices file", 187};
constexpr Key kDebug = {"Debug", "debug flag", 188};
constexpr Key kPriority = {"PRI", "process priority", 189};
constexpr Key kCpu = {"CPU", "CPU value", 190};
constexpr Key kQuiet = {"PARAM_1", "quiet flag", 191};
constexpr Key kTestMode = {"PARAM_2", "testMode flag", 192};
constexpr Key kUtcSource = {"PARAM_3", "UTC TIME source server ID", 193};
constexpr Key kPvaSource = {"PARAM_4", "pva source server ID", 194};
constexpr Key kGssipSource = {"PARAM_5", "gssip source server ID comma-separated list", 195};
constexpr Key kMisSource = {"PARAM_6", "MIS source server ID", 196};
constexpr Key kPntSource = {"PARAM_7", "fusionPNT source server ID", 197};
constexpr Key kClearData = {"PARAM_8", "clear data (zeroize/destroy) request seconds, overall timeout seconds", 198};
constexpr Key kBitTimeout = {"PARAM_9", "Built In Test (BIT) request timeout seconds", 199};

/// Reads keys of one open section into one result code. A failure is sticky: each later key is read as usual, and
/// reported all the same.
class SectionReader {
public:
    SectionReader(FACE::Configuration& config, int handle, RETURN_CODE_TYPE::Value& code)
        : m_config(config), m_handle(handle), m_code(code)
    {}

    void read(const Key& key, FACE::String& value)
    {
        HX_Config_Helpers::Get_String_Parameter(m_config, m_handle, key.name, value, m_code);
        report(key);
    }

    void read(const Key& key, bool& value)
    {
        HX_Config_Helpers::Get_Boolean_Parameter(m_config, m_handle, key.name, value, m_code);
        report(key);
    }

    /// A number in the C notations, decimal, 0x or octal, cut to its low bits; 0 if there is none.
    template <std::unsigned_integral Number>
    void read(const Key& key, Number& value)
    {
        const std::string text = HX_Config_Helpers::Details::Read_Config(m_config, m_handle, key.name);
        if (text.empty()) m_code = RETURN_CODE_TYPE::INVALID_CONFIG;
        value = static_cast<Number>(std::strtoull(text.c_str(), nullptr, 0));
        report(key);
    }

private:
    void report(const Key& key) const
    {
        if (m_code == RETURN_CODE_TYPE::NO_ERROR) return;
        printLine(std::cout, kSourceUnit, " (", key.line, ") ", kFunction, " : error or could not find setting, ",
                  key.name, " (", key.description, ") in configuration file!");
    }

    FACE::Configuration& m_config;
    const int m_handle;
    RETURN_CODE_TYPE::Value& m_code;
};

/// A decimal number as `strtoul` converts it where `unsigned long` has 32 bits, on every machine: what is too large
/// gives 4294967295, a minus sign wraps, and what is no number gives 0.
std::uint32_t toUnsigned32(const std::string& text)
{
    constexpr std::uint32_t kMax = 0xFFFFFFFFu;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    if (errno == ERANGE) return kMax;
    const bool isNegative = text.find('-') < text.find_first_of("0123456789");
    const unsigned long long magnitude = isNegative ? 0 - value : value;
    if (magnitude > kMax) return kMax;
    return static_cast<std::uint32_t>(value);
}

void takeClearDataTimeouts(const std::string& list, ServerSettings& settings)
{
    const std::vector<std::string> parts = StringUtils::split(list, ',');
    if (parts.size() == 2) {
        settings.m_clearDataRequestTimeoutSeconds = toUnsigned32(parts[0]);
        settings.m_clearDataInProgressTimeoutSeconds = toUnsigned32(parts[1]);
        return;
    }
    const std::string warning = settings.m_serverName + kTwoValuesNotFound;
    Reports::sendEvent(EventTypes::EVENT_FAULT, warning);
    if (settings.m_debug) printLine(std::cout, kSourceUnit, " (", __LINE__, ") ", kFunction, " : ", warning);
}

void takeGssipSources(const std::string& list, ServerSettings& settings)
{
    for (const std::string& part : StringUtils::split(list, ',')) {
        const auto id = static_cast<std::uint8_t>(toUnsigned32(part));
        if (id != 0) settings.m_gssipSourceServers.insert(id);
    }
}

void readUnit(FACE::HX_Config& config, ServerSettings& settings, RETURN_CODE_TYPE::Value& code)
{
    int handle = 0;
    config.Open(SYST_NAME, handle, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return;
    HX_Config_Helpers::Get_String_Parameter(config, handle, "System", settings.m_systemName, code);
    HX_Config_Helpers::Get_String_Parameter(config, handle, "Configuration", settings.m_configurationName, code);
    RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
    config.Close(handle, ignored);
}

/// What of the service's section is stored only once all keys have been found.
struct Pending {
    std::uint16_t utcSource = 0;
    std::uint16_t pvaSource = 0;
    std::uint16_t misSource = 0;
    std::uint16_t pntSource = 0;
    FACE::String clearDataTimeouts;
};

void readKeys(SectionReader& section, ServerSettings& settings, Scheduling& scheduling, Pending& pending)
{
    section.read(kConnections, settings.m_connectionsFile);
    section.read(kIODevices, settings.m_ioDevicesFile);
    section.read(kDebug, settings.m_debug);
    section.read(kPriority, scheduling.priority);
    section.read(kCpu, scheduling.cpu);
    section.read(kQuiet, settings.m_quiet);
    section.read(kTestMode, settings.m_testMode);
    section.read(kUtcSource, pending.utcSource);
    section.read(kPvaSource, pending.pvaSource);
    section.read(kGssipSource, settings.m_gssipSourceServerSet);
    section.read(kMisSource, pending.misSource);
    section.read(kPntSource, pending.pntSource);
    section.read(kClearData, pending.clearDataTimeouts);
    section.read(kBitTimeout, settings.m_BITtimeoutSeconds);
}

void take(const Pending& pending, ServerSettings& settings)
{
    settings.m_pvaSourceServerId = static_cast<std::uint8_t>(pending.pvaSource);
    settings.m_utcSourceServerId = static_cast<std::uint8_t>(pending.utcSource);
    settings.m_misSourceServerId = static_cast<std::uint8_t>(pending.misSource);
    settings.m_fusionPNTSourceServerId = static_cast<std::uint8_t>(pending.pntSource);
    takeClearDataTimeouts(FACE::textOf(pending.clearDataTimeouts), settings);
    takeGssipSources(FACE::textOf(settings.m_gssipSourceServerSet), settings);
}

}  // namespace

bool Scheduling::apply(const std::string& serverName) const
{
    bool areSet = true;
    const auto report = [&](bool isSet, const char* what, unsigned value) {
        areSet = areSet && isSet;
        printLine(std::cout, isSet ? "Successfully set " : "FAILED to set ", serverName, what, value);
    };
    if (priority != 0) {
        const unsigned value = priority & 0xFFu;
        report(okSetRealtimeProcessPriority(static_cast<int>(value)), ": realtime process priority to ", value);
    }
    if (cpu != 0) {
        const unsigned value = cpu & 0xFFu;
        report(okSetCpuAffinity(value), ": cpu affinity to ", value);
    }
    return areSet;
}

bool ServerConfigFile::read(const FACE::String& file, ServerSettings& settings, Scheduling& scheduling)
{
    FACE::HX_Config config;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    config.Initialize(file, code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) readUnit(config, settings, code);
    int handle = 0;
    if (code == RETURN_CODE_TYPE::NO_ERROR) config.Open(ASPN2::ServerIds::to_string(settings.m_serverId), handle, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return false;

    SectionReader section(config, handle, code);
    Pending pending;
    readKeys(section, settings, scheduling, pending);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return false;  // the section stays open: it goes with its file
    take(pending, settings);
    RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
    config.Close(handle, ignored);
    return true;
}

void ServerConfigFile::print(const ServerSettings& settings, const Scheduling& scheduling)
{
    printLine(std::cout, settings.m_serverName, ": configuration parameters: ",                          //
              " m_debug = ", settings.m_debug,                                                           //
              ", priority = ", scheduling.priority,                                                      //
              ", cpu = ", scheduling.cpu,                                                                //
              ", m_quiet = ", settings.m_quiet,                                                          //
              ", m_testMode = ", settings.m_testMode,                                                    //
              ", m_utcSourceServerId = ", unsigned{settings.m_utcSourceServerId},                        //
              ", m_pvaSourceServerId = ", unsigned{settings.m_pvaSourceServerId},                        //
              ", m_gssipSourceServerSet = ", FACE::textOf(settings.m_gssipSourceServerSet),              //
              ", m_misSourceServerId = ", unsigned{settings.m_misSourceServerId},                        //
              ", m_fusionPNTSourceServerId = ", unsigned{settings.m_fusionPNTSourceServerId},            //
              ", m_clearDataInProgressTimeoutSeconds = ", settings.m_clearDataInProgressTimeoutSeconds,  //
              ", m_clearDataRequestTimeoutSeconds = ", settings.m_clearDataRequestTimeoutSeconds,        //
              ", m_BITtimeoutSeconds = ", settings.m_BITtimeoutSeconds);
}
