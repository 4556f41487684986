#include "lab/ctl/why/ServiceSettings.h"

#include "VICTORY/OrvaneServer/ServerConfigFile.h"
#include "face/FACE_Text.h"
#include "lab/ctl/check/ConfigText.h"
#include "lab/ctl/check/Silence.h"

#include <cstdlib>
#include <stdexcept>

namespace orvanectl {

ServerSettings serviceSettings(const std::string& file)
{
    ServerSettings settings;
    Scheduling ignored;
    const Silence silence;
    if (!ServerConfigFile::read(FACE::String(file.c_str()), settings, ignored))
        throw std::runtime_error(file + ": the service doesn't take this file; orvanectl check tells why");
    return settings;
}

std::vector<QueueName> queuesOf(const ServerSettings& settings)
{
    constexpr const char* kNames[] = {kReceiverQueue, "HX_ZEN"};
    std::vector<QueueName> queues;
    Findings ignored;
    const auto text = readConfigText(FACE::textOf(settings.m_ioDevicesFile), ignored);
    if (!text) return queues;
    for (const char* const name : kNames) {
        const ConfigContainer* const container = text->find(name);
        const std::string port = container ? container->textOf("Port") : "";
        char* end = nullptr;
        const unsigned long number = std::strtoul(port.c_str(), &end, 0);
        if (port.empty() || *end != '\0' || number > 65535) continue;
        queues.push_back({name, "/dev/mcs" + std::to_string(number)});
    }
    return queues;
}

}  // namespace orvanectl
