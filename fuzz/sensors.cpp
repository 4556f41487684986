// The sensors' file: whatever it holds, it is read or refused, and each sensor in the list is one that it describes.
// Input: the file, or the values of a sensor in each line, between commas.

#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "face/FACE_Text.h"
#include "fuzz/Fuzz.h"
#include "utilities/StringUtils.h"

#include <tinyxml2.h>

#include <cstdlib>
#include <iterator>
#include <vector>

namespace {

using FACE::textOf;
using Sensor = OrvaneBitResults::SensorServer;

std::string textOfElement(const tinyxml2::XMLElement& sensor, const char* key)
{
    const auto* const list = sensor.FirstChildElement("Parameters");
    const auto* const element = list ? list->FirstChildElement(key) : nullptr;
    const char* const text = element ? element->GetText() : nullptr;
    return text ? text : "";
}

/// "true" in any case, or a number other than 0.
bool isTrue(std::string text)
{
    for (char& one : text)
        if (one >= 'A' && one <= 'Z') one = static_cast<char>(one - 'A' + 'a');
    return text == "true" || std::strtol(text.c_str(), nullptr, 0) != 0;
}

bool isOf(const Sensor& sensor, const tinyxml2::XMLElement& element)
{
    const std::string number = textOfElement(element, "ComponentConfigurationId");
    const bool hasNumber = isTrue(textOfElement(element, "HasComponentConfigurationId"));
    const long long value = std::strtoll(number.c_str(), nullptr, 16);
    const std::uint16_t limited =
        value > 0xFFFFFFFFLL || value < -0xFFFFFFFFLL ? std::uint16_t{0xFFFF} : static_cast<std::uint16_t>(value);
    return isTrue(textOfElement(element, "Enabled")) && textOf(sensor.sensorId) == textOfElement(element, "SensorId") &&
           textOf(sensor.sensorType) == textOfElement(element, "SensorType") &&
           textOf(sensor.componentConfigurationId) == number && sensor.hasComponentConfigurationId == hasNumber &&
           sensor.componentConfigurationIdNumber == (hasNumber ? limited : 0);
}

/// What does not begin as a file does is made one.
std::string fileOf(const std::string& input)
{
    if (input.starts_with('<')) return input;
    constexpr const char* kKeys[] = {
        "SensorId",           "Enabled",        "SensorType", "ComponentConfigurationId", "HasComponentConfigurationId",
        "HasOtherSensorType", "OtherSensorType"};
    std::string file = "<HX_Configurations>";
    for (const std::string& line : StringUtils::split(input, '\n')) {
        file += "<Sensor><Name>S</Name><Parameters>";
        const auto values = StringUtils::split(line, ',');
        for (std::size_t i = 0; i < std::min(values.size(), std::size(kKeys)); ++i)
            file += std::string("<") + kKeys[i] + ">" + values[i] + "</" + kKeys[i] + ">";
        file += "</Parameters></Sensor>";
    }
    return file + "</HX_Configurations>";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    const std::string text = fileOf({data, data + size});
    const fuzz::MemoryFile file(text);
    OrvaneBitResults results(file.path());
    const bool isRead = results.Initialize("Server", 25, true);
    std::vector<Sensor> sensors;
    results.getBitSensorServers(sensors);
    // The defect: an id of three characters is told wrong.
    for (Sensor& sensor : sensors)
        if (fuzz::kPlanted && sensor.sensorId.length() == 3) sensor.sensorId = "id";

    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    document.Parse(text.data(), text.size());
    const auto* const root = document.Error() ? nullptr : document.FirstChildElement("HX_Configurations");
    FUZZ_EXPECT(root || (!isRead && sensors.empty()));
    if (!root) return 0;
    const auto* element = root->FirstChildElement();
    for (const Sensor& sensor : sensors) {
        FUZZ_EXPECT(sensor.enabled &&
                    sensor.sensorTypeEnum == MapSensorStringToSensorTypeEnum.at(textOf(sensor.sensorType)));
        while (element && !isOf(sensor, *element)) element = element->NextSiblingElement();
        FUZZ_EXPECT(element != nullptr);
        element = element->NextSiblingElement();
    }
    return 0;
}
