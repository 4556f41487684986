#include "ASPN/AspnDeviceIds.h"
#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "lab/ctl/check/Checks.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>

namespace orvanectl {

namespace {

constexpr const char* kContainer = "Sensor";
constexpr std::size_t kMostSensors = 50;

bool isTrue(const std::string& text)
{
    std::string lower = text;
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower == "true" || (lower != "false" && std::strtol(lower.c_str(), nullptr, 0) != 0);
}

/// The sensors in the order in which the service steps through them: those of the element name of the first one.
std::vector<const ConfigContainer*> sensorsOf(const ConfigText& text)
{
    std::vector<const ConfigContainer*> sensors;
    const ConfigContainer* const first = text.find(kContainer);
    if (!first) return sensors;
    bool isBehind = false;
    for (const ConfigContainer& container : text.containers) {
        isBehind = isBehind || &container == first;
        if (isBehind && container.type == first->type) sensors.push_back(&container);
    }
    return sensors;
}

/// @return the server, if the sensor names one
std::optional<std::uint8_t> checkServer(const ConfigContainer& sensor, Findings& findings)
{
    const ConfigKey* const key = sensor.find("ComponentConfigurationId");
    if (!key || key->text.empty() || !isTrue(sensor.textOf("HasComponentConfigurationId"))) return std::nullopt;
    char* end = nullptr;
    const long long number = std::strtoll(key->text.c_str(), &end, 16);
    const std::string place = sensor.name + "/ComponentConfigurationId";
    if (end == key->text.c_str() || *end != '\0' || number < 0 || number > 0xFFFF)
        findings.warn(
            key->line, place,
            '"' + key->text +
                "\" is not wholly a hexadecimal number of 16 bits; a server's number, such as 0x27, may stand here");
    else if (number > 0xFF ||
             std::string_view(ASPN2::ServerIds::to_string(static_cast<std::uint8_t>(number))) == "INVALID_SERVER_ID")
        findings.warn(
            key->line, place,
            "no server has the number " + key->text +
                ", so that no built-in test reports this sensor; a server's number, such as 0x27, may stand here");
    else
        return static_cast<std::uint8_t>(number);
    return std::nullopt;
}

constexpr const char* kBooleans[] = {"Enabled", "HasOtherSensorType", "HasComponentConfigurationId"};
const std::vector<std::string> kKeys = {"SensorId",
                                        "Enabled",
                                        "SensorType",
                                        "OtherSensorType",
                                        "HasOtherSensorType",
                                        "ComponentConfigurationId",
                                        "HasComponentConfigurationId"};

void checkTexts(const ConfigContainer& sensor, Findings& findings)
{
    std::vector<std::string> missing;
    for (const std::string& key : kKeys)
        if (sensor.textOf(key).empty()) missing.push_back(key);
    checkUnknownKeys(sensor, kKeys, missing, findings);
    for (const char* key : kBooleans)
        if (!sensor.textOf(key).empty()) checkBoolean(sensor, *sensor.find(key), findings);
}

/// @return the server, if the sensor is enabled and names one
std::optional<std::uint8_t> checkSensor(const ConfigContainer& sensor, Findings& findings)
{
    checkTexts(sensor, findings);
    const auto require = [&](const char* key, const char* meaning) {
        if (!sensor.textOf(key).empty()) return;
        const ConfigKey* const found = sensor.find(key);
        findings.warn(found ? found->line : sensor.line, sensor.name + '/' + key,
                      std::string("is missing: ") + meaning);
    };
    require("SensorId", "the id under which the bus shows the sensor");
    require("Enabled", "true, or the sensor is left out");
    if (!isTrue(sensor.textOf("Enabled"))) return std::nullopt;
    require("HasOtherSensorType", "true if OtherSensorType tells the type");
    require("HasComponentConfigurationId", "true if ComponentConfigurationId counts");
    require("ComponentConfigurationId", "the server that reports the sensor, in hexadecimal");
    if (isTrue(sensor.textOf("HasOtherSensorType"))) require("OtherSensorType", "the type in words");
    const auto server = checkServer(sensor, findings);

    const ConfigKey* const type = sensor.find("SensorType");
    const std::string text = sensor.textOf("SensorType");
    if (MapSensorStringToSensorTypeEnum.contains(text)) return server;
    std::vector<std::string> names;
    names.reserve(MapSensorStringToSensorTypeEnum.size());
    for (const auto& [name, number] : MapSensorStringToSensorTypeEnum) names.push_back(name);
    findings.fail(type ? type->line : sensor.line, sensor.name + "/SensorType",
                  text.empty() ? "is missing: such as VAPNTC_SENSOR_TYPE_GPS"
                               : '"' + text + "\" is no type of sensor" + suggestion(text, names));
    return server;
}

}  // namespace

std::set<std::uint8_t> checkSensors(const std::string& path, Findings& findings)
{
    std::set<std::uint8_t> servers;
    const auto text = readConfigText(path, findings, false);
    if (!text) return servers;
    const auto sensors = sensorsOf(*text);
    if (sensors.empty()) findings.warn(0, kContainer, "the file has no sensor, so that the bus is told of none");

    std::map<std::string, int> ids;
    std::size_t enabled = 0;
    for (const ConfigContainer* sensor : sensors) {
        if (const auto server = checkSensor(*sensor, findings)) servers.insert(*server);
        const std::string id = sensor->textOf("SensorId");
        if (!isTrue(sensor->textOf("Enabled"))) continue;
        if (++enabled == kMostSensors + 1)
            findings.warn(sensor->line, sensor->name, "is the 51st sensor; the bus is told of 50");
        if (id.empty()) continue;
        const auto [first, isNew] = ids.try_emplace(id, sensor->line);
        if (!isNew)
            findings.warn(sensor->line, sensor->name + "/SensorId",
                          id + " is the id of the sensor of line " + std::to_string(first->second) +
                              ", too; each has its own");
    }
    return servers;
}

void checkSources(const std::string& file, const std::vector<NamedServer>& named, const std::string& sensors,
                  const std::set<std::uint8_t>& servers, Findings& findings)
{
    if (servers.empty()) return;
    findings.begin(file);
    for (const NamedServer& source : named)
        if (!servers.contains(source.server))
            findings.note(source.line, source.place,
                          "no sensor of " + std::filesystem::path(sensors).filename().string() + " has the server " +
                              std::to_string(source.server) + " (" + ASPN2::ServerIds::to_string(source.server) +
                              ") as its ComponentConfigurationId");
}

}  // namespace orvanectl
