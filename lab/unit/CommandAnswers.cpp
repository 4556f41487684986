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

const char* nameOf(const Component& component)
{
    return ASPN2::Components::to_component(component.server, component.topic);
}

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

/// What is said at first; none for silence.
std::vector<PlannedAnswer> firstAnswer(const std::string& stem, std::uint8_t server, const Settings& settings)
{
    switch (settings.answers.first) {
    case Answers::First::Ack:
        return {response(settings.answerDelaySeconds, server, stem + Sys::ResponseString::Ack)};
    case Answers::First::Nack:
        return {response(settings.answerDelaySeconds, server, stem + Sys::ResponseString::Nack)};
    case Answers::First::None:
        return {};
    }
    return {};
}

/// Accepted and, after a while, ended under another stem; or as the settings have it.
std::vector<PlannedAnswer> clearing(const std::string& command, const std::string& stem, std::uint8_t server,
                                    const Settings& settings)
{
    std::vector<PlannedAnswer> answers = firstAnswer(command, server, settings);
    const double late = settings.answerDelaySeconds + settings.eraseSeconds;
    switch (settings.answers.then) {
    case Answers::Then::Pass:
        answers.push_back(response(late, server, stem + Sys::ResponseString::Pass));
        break;
    case Answers::Then::Fail:
        answers.push_back(response(late, server, stem + Sys::ResponseString::Fail));
        break;
    case Answers::Then::None:
        break;
    }
    return answers;
}

std::vector<PlannedAnswer> testing(const std::vector<std::string>& words, const Settings& settings)
{
    std::vector<PlannedAnswer> answers = firstAnswer(words.front(), servers::kBitServer, settings);
    if (settings.answers.then == Answers::Then::None) return answers;

    PlannedAnswer report;
    report.delaySeconds = settings.answerDelaySeconds + settings.bitSeconds;
    report.kind = Kind::BitReport;
    report.server = servers::kBitServer;
    report.topic = 1;  // that a commanded test has
    for (std::size_t i = 1; i < words.size(); ++i)
        report.components.push_back(static_cast<std::int32_t>(std::strtol(words[i].c_str(), nullptr, 10)));
    if (report.components.empty()) report.components.assign(std::begin(kTestedServers), std::end(kTestedServers));
    report.passed = settings.answers.then == Answers::Then::Pass;
    answers.push_back(std::move(report));
    return answers;
}

std::vector<PlannedAnswer> partNumbers(const Settings& settings)
{
    if (settings.answers.first == Answers::First::None) return {};
    std::vector<PlannedAnswer> answers;
    double seconds = settings.answerDelaySeconds;
    for (const Component& component : kComponents) {
        if (settings.silentComponents.contains(nameOf(component))) continue;
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

aspn2_msgs::idl::BitReport bitReport(const PlannedAnswer& answer, const std::map<std::int32_t, Finding>& findings)
{
    aspn2_msgs::idl::BitReport report;
    report.bit_rollup(answer.passed);
    std::int32_t available = 0;
    for (const std::int32_t server : answer.components) {
        const auto found = findings.find(server);
        const Finding finding = found != findings.end() ? found->second
                                : answer.passed         ? Finding::Good
                                                        : Finding::Error;
        aspn2_msgs::idl::bit_comp_set component;
        component.server_id(server);
        component.has_communicated(finding != Finding::Silent);
        component.warn_received(finding == Finding::Warning);
        component.error_received(finding == Finding::Error);
        component.critical_received(finding == Finding::Critical);
        report.bit_components().push_back(component);
        if (finding != Finding::Silent) ++available;
        if (finding != Finding::Good && finding != Finding::Warning) report.bit_rollup(false);
    }
    report.num_servers_expected(static_cast<std::int32_t>(answer.components.size()));
    report.num_servers_available(available);
    return report;
}

std::vector<std::string> componentNames()
{
    std::vector<std::string> names;
    for (const Component& component : kComponents) names.emplace_back(nameOf(component));
    return names;
}

}  // namespace unitsim
