#include "lab/unit/CommandAnswers.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/CmdResponseStrings.h"
#include "utilities/StringUtils.h"
#include "utilities/VersionStatus.h"

#include <cstddef>
#include <cstdlib>

namespace unitsim {

namespace {

using Kind = PlannedAnswer::Kind;

constexpr double kBetweenComponents = 0.1;  // s

/// A component that has part numbers.
struct Component {
    std::uint8_t server;
    std::uint8_t topic;
    void (*identify)(VersionStatus& status);
};

constexpr Component kComponents[] = {
    {servers::kSystemController, 0,
     [](VersionStatus& status) {
         status.setSoftware1Version("4.2.0");
         status.setOs1Version("12.5");
         status.setHardware1Version("345-1290-118B");
         status.setSerialNumber1("0042");
     }},
    {servers::kSystemController, 1,
     [](VersionStatus& status) {
         status.setFirmware1Version("2.7");
         status.setHardware1Version("345-1291-001A");
         status.setSerialNumber1("0107");
     }},
    {servers::kReceiver, 0,
     [](VersionStatus& status) {
         status.setSoftware1Version("6.11");
         status.setFirmware1Version("3.4");
         status.setHardware1Version("822-2503-004");
         status.setSerialNumber1("G01933");
     }},
    {servers::kTarvo, 0,
     [](VersionStatus& status) {
         status.setSoftware1Version("1.9");
         status.setSoftware5Version("5.0");
         status.setSoftware6Version("5.1");
         status.setFirmware1Version("1.3");
         status.setFirmware2Version("2.3");
         status.setHardware1Version("990-0001-011");
         status.setHardware2Version("990-0002-012");
         status.setSerialNumber1("T0511");
         status.setSerialNumber2("K0512");
         status.setAntennaTable("AT-7");
     }},
    {servers::kTarvo, 2,
     [](VersionStatus& status) {
         status.setFirmware1Version("0.8");
         status.setHardware1Version("990-0003-013");
         status.setSerialNumber1("T0611");
     }},
    {servers::kQuillE, 0,
     [](VersionStatus& status) {
         status.setSoftware1Version("3.0.1");
         status.setHardware1Version("770-4410-002");
     }},
    {servers::kAltNav, 0,
     [](VersionStatus& status) {
         status.setSoftware1Version("2600.4");
         status.setSerialNumber1("JL-88");
     }},
};

constexpr std::int32_t kTestedServers[] = {servers::kReceiver,    servers::kAltNav,      servers::kTarvo,
                                           servers::kWheelSensor, servers::kMasterClock, servers::kAntenna};

PlannedAnswer response(double seconds, std::uint8_t server, std::string text, std::uint8_t topic = 0)
{
    PlannedAnswer answer;
    answer.delaySeconds = seconds;
    answer.server = server;
    answer.topic = topic;
    answer.text = std::move(text);
    return answer;
}

/// Accepted and, after a while, ended under another stem.
std::vector<PlannedAnswer> clearing(const std::string& command, const std::string& stem, std::uint8_t server,
                                    const Settings& settings)
{
    const double soon = settings.answerDelaySeconds;
    const double late = soon + settings.eraseSeconds;
    const auto accepted = response(soon, server, command + Sys::ResponseString::Ack);
    switch (settings.answers) {
    case Answers::None:
        return {};
    case Answers::Nack:
        return {response(soon, server, command + Sys::ResponseString::Nack)};
    case Answers::AckOnly:
        return {accepted};
    case Answers::Fail:
        return {accepted, response(late, server, stem + Sys::ResponseString::Fail)};
    case Answers::Normal:
        return {accepted, response(late, server, stem + Sys::ResponseString::Pass)};
    }
    return {};
}

std::vector<PlannedAnswer> testing(const std::vector<std::string>& words, const Settings& settings)
{
    const double soon = settings.answerDelaySeconds;
    if (settings.answers == Answers::None) return {};
    if (settings.answers == Answers::Nack)
        return {response(soon, servers::kBitServer, words.front() + Sys::ResponseString::Nack)};

    PlannedAnswer report;
    report.delaySeconds = soon + settings.bitSeconds;
    report.kind = Kind::BitReport;
    report.server = servers::kBitServer;
    report.topic = 1;  // that a commanded test has
    for (std::size_t i = 1; i < words.size(); ++i)
        report.components.push_back(static_cast<std::int32_t>(std::strtol(words[i].c_str(), nullptr, 10)));
    if (report.components.empty()) report.components.assign(std::begin(kTestedServers), std::end(kTestedServers));
    report.passed = settings.answers != Answers::Fail;

    std::vector<PlannedAnswer> answers = {
        response(soon, servers::kBitServer, words.front() + Sys::ResponseString::Ack)};
    if (settings.answers != Answers::AckOnly) answers.push_back(std::move(report));
    return answers;
}

std::vector<PlannedAnswer> partNumbers(const Settings& settings)
{
    if (settings.answers == Answers::None) return {};
    std::vector<PlannedAnswer> answers;
    double seconds = settings.answerDelaySeconds;
    for (const Component& component : kComponents) {
        const char* name = ASPN2::Components::to_component(component.server, component.topic);
        if (settings.silentComponents.contains(name)) continue;
        VersionStatus status;
        component.identify(status);
        answers.push_back(response(seconds, component.server, status.createMessage(), component.topic));
        seconds += kBetweenComponents;
    }
    return answers;
}

}  // namespace

std::vector<PlannedAnswer> answersTo(const std::string& command, const Settings& settings)
{
    using namespace Sys;
    if (command == CommandString::RequestZeroize)
        return clearing(command, ResponseString::SystemZeroize, servers::kZeroize, settings);
    if (command == CommandString::RequestDestroy)
        return clearing(command, ResponseString::SystemDestroy, servers::kZeroize, settings);
    if (command == CommandString::ZentorMCVZeroize) return clearing(command, command, servers::kReceiver, settings);
    if (command == CommandString::RequestPartNumbers) return partNumbers(settings);
    const std::vector<std::string> words = StringUtils::split(command, ',');
    if (!words.empty() && words.front() == CommandString::RequestSystemCBit) return testing(words, settings);
    return {};
}

aspn2_msgs::idl::BitReport bitReport(const PlannedAnswer& answer, const std::set<std::int32_t>& failed)
{
    aspn2_msgs::idl::BitReport report;
    bool passed = answer.passed;
    for (const std::int32_t server : answer.components) {
        const bool fails = !answer.passed || failed.contains(server);
        passed = passed && !fails;
        aspn2_msgs::idl::bit_comp_set component;
        component.server_id(server);
        component.has_communicated(true);
        component.error_received(fails);
        report.bit_components().push_back(component);
    }
    report.bit_rollup(passed);
    report.num_servers_expected(static_cast<std::int32_t>(answer.components.size()));
    report.num_servers_available(static_cast<std::int32_t>(answer.components.size()));
    return report;
}

}  // namespace unitsim
