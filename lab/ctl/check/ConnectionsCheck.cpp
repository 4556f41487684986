#include "face/HX_Config.h"
#include "face/HX_TSS_Settings.h"
#include "lab/ctl/RecordTypes.h"
#include "lab/ctl/check/Checks.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <sys/sysinfo.h>

namespace orvanectl {

namespace {

using Kind = KeyRule::Kind;

constexpr const char* kDomain = "FastRtps";
constexpr std::int64_t kLongHistory = 10000;
// Bytes that all ends of topics take for each sample of their histories, at the least: 9,060 were seen on x86-64.
constexpr std::uint64_t kLeastOfSample = sizeof(void*) == 8 ? 8000 : 4000;
constexpr std::size_t kLongestName = 255;

constexpr KeyRule kDomainKeys[] = {
    {"DomainId", Kind::Text, 0, 0, "the DDS domain, 0 to 232"},
    {"HistoryDepth", Kind::Text, 0, 0, "samples that each end of a topic keeps, 1 or more"},
    {"UseBestEffort", Kind::Boolean, 0, 0, "false for reliable"},
    {"BackFillHistory", Kind::Boolean, 0, 0, "true to give late subscribers what publishers hold"},
    {"UseTransport", Kind::Text, 0, 0, "SHM, UDP, TCP_Client or TCP_Server"},
    {"TcpAddress", Kind::Text, 0, 0, "a dotted IPv4 address, needed whatever the transport is"},
    {"TcpPort", Kind::Number, 0, 65535, "a port, needed whatever the transport is"},
};

constexpr const char* kTransports[] = {"SHM", "UDP", "TCP_Client", "TCP_Server"};

/// A topic of the service and the type support that it needs.
struct NeededTopic {
    const char* name;
    const char* pubSubType;
};

constexpr NeededTopic kTopics[] = {
    {"BitReport", "BitReportPubSubType"},
    {"Command", "CommandResponsePubSubType"},
    {"Response", "CommandResponsePubSubType"},
    {"PositionVelocityAttitude", "PositionVelocityAttitudePubSubType"},
    {"UTCTime", "UTCTimePubSubType"},
    {"HalvexPNT", "HalvexPNTPubSubType"},
    {"MeasurementIncorporationStatus", "MeasurementIncorporationStatusPubSubType"},
    {"AssuranceState", "AssuranceStatePubSubType"},
    {"EventLog", "EventLogPubSubType"},
    {"MaintenanceEvent", "MaintenanceEventPubSubType"},
};

/// What the service reads of the transport as a whole.
FACE::TSS::HX_TSS_Settings settingsOf(const std::string& path)
{
    FACE::HX_Config config;
    auto code = FACE::RETURN_CODE_TYPE::NO_ERROR;
    int handle = 0;
    config.Initialize(FACE::String(path.c_str()), code);
    config.Open(kDomain, handle, code);
    return FACE::TSS::readSettings(config, handle, code);
}

void checkHistory(std::int64_t depth, int line, std::uint64_t memory, Findings& findings)
{
    const std::string place = std::string(kDomain) + "/HistoryDepth";
    const std::uint64_t needed = static_cast<std::uint64_t>(depth) * kLeastOfSample;
    if (needed > memory)
        findings.fail(line, place,
                      "no memory holds " + std::to_string(depth) +
                          " samples, which are taken at the start for each end of a topic; 10 is usual");
    else if (depth > kLongHistory)
        findings.warn(line, place,
                      "the memory for " + std::to_string(depth) +
                          " samples is taken at the start for each end of a topic; 10 is usual");
}

void checkDomain(const ConfigText& text, const std::string& path, std::uint64_t memory, Findings& findings)
{
    const ConfigContainer* const domain = text.find(kDomain);
    if (!domain) {
        std::vector<std::string> names;
        for (const ConfigContainer& container : text.containers) names.push_back(container.name);
        return findings.fail(
            0, kDomain, "the container with the settings of the transport is missing" + suggestion(kDomain, names));
    }
    checkKeys(*domain, kDomainKeys, findings);
    if (std::ranges::any_of(kDomainKeys, [&](const KeyRule& rule) { return domain->textOf(rule.name).empty(); }))
        return;

    const auto settings = settingsOf(path);
    const auto at = [&](const char* key) { return domain->find(key)->line; };
    const std::string place = std::string(kDomain) + '/';
    if (settings.domainId > FACE::TSS::kHighestDomainId)
        findings.fail(at("DomainId"), place + "DomainId",
                      std::to_string(settings.domainId) +
                          " would make UDP ports beyond 65535; 232 is the highest domain");
    else
        checkNumber(*domain, *domain->find("DomainId"), 0, 0, FACE::TSS::kHighestDomainId, findings);
    if (settings.historyDepth < 1)
        findings.fail(at("HistoryDepth"), place + "HistoryDepth",
                      std::to_string(settings.historyDepth) + " samples are too few; 1 is the least");
    else
        checkNumber(*domain, *domain->find("HistoryDepth"), 0, 1, 2147483647, findings);
    if (settings.historyDepth >= 1) checkHistory(settings.historyDepth, at("HistoryDepth"), memory, findings);
    if (std::ranges::find(kTransports, settings.useTransport) == std::end(kTransports))
        findings.fail(at("UseTransport"), place + "UseTransport",
                      '"' + settings.useTransport + "\" is no transport; SHM, UDP, TCP_Client or TCP_Server is" +
                          suggestion(settings.useTransport, {"SHM", "UDP", "TCP_Client", "TCP_Server"}));
    in_addr address = {};
    const bool usesTcp = settings.useTransport.starts_with("TCP_");
    if (usesTcp && ::inet_pton(AF_INET, settings.tcpAddress.c_str(), &address) != 1)
        findings.warn(at("TcpAddress"), place + "TcpAddress",
                      '"' + settings.tcpAddress + "\" is no dotted IPv4 address, such as 127.0.0.1");
    if (usesTcp && (settings.tcpPort & 0xFFFF) == 0)
        findings.warn(at("TcpPort"), place + "TcpPort",
                      "0 is a port that nobody can connect to; 1 to 65535 may stand here");
}

/// Of a container that is a topic: whether its types are there and fit each other, and what the service needs of it.
/// @param needed  the type support that the service needs; null for a topic of others
void checkTopic(const ConfigContainer& topic, const char* needed, Findings& findings)
{
    const Severity severity = needed ? Severity::Error : Severity::Warning;
    const ConfigKey* const topicType = topic.find("TopicType");
    const ConfigKey* const pubSubType = topic.find("PubSubType");
    for (const char* key : {"TopicType", "PubSubType"})
        if (topic.textOf(key).empty())
            findings.add(severity, topic.line, topic.name + '/' + key,
                         std::string("is missing: ") + (needed ? needed : "a type support, such as UTCTimePubSubType") +
                             " belongs to this topic");
    std::vector<std::string> missing;
    for (const char* key : {"TopicType", "PubSubType"})
        if (topic.textOf(key).empty()) missing.emplace_back(key);
    checkUnknownKeys(topic, {"TopicType", "PubSubType"}, missing, findings);
    if (!missing.empty()) return;
    if (topic.name.size() > kLongestName)
        findings.warn(topic.line, topic.name, "the name has more than 255 characters");

    const auto types = recordTypes();
    const auto type = std::ranges::find(types, pubSubType->text, &RecordType::pubSubType);
    if (type == types.end()) {
        std::vector<std::string> names;
        for (const RecordType& one : types) names.push_back(one.pubSubType());
        findings.add(severity, pubSubType->line, topic.name + "/PubSubType",
                     '"' + pubSubType->text + "\" is no type support" + suggestion(pubSubType->text, names));
        return;
    }
    if (needed && pubSubType->text != needed)
        findings.fail(pubSubType->line, topic.name + "/PubSubType",
                      pubSubType->text + " is not the type support of this topic; " + needed + " is");
    if (topicType->text != type->typeName())
        findings.add(severity, topicType->line, topic.name + "/TopicType",
                     '"' + topicType->text + "\" is not the type of " + pubSubType->text + "; " + type->typeName() +
                         " is");
}

}  // namespace

std::uint64_t memoryOf(const struct sysinfo& machine)
{
    const std::uint64_t units = std::uint64_t{machine.totalram} + machine.totalswap;
    const std::uint64_t most = std::numeric_limits<std::size_t>::max();
    const std::uint64_t bytes = std::max(machine.mem_unit, 1U);
    return units > most / bytes ? most : units * bytes;
}

std::uint64_t memoryOfService(bool isThisMachine)
{
    struct sysinfo machine {};
    if (isThisMachine && ::sysinfo(&machine) == 0) return memoryOf(machine);
    constexpr std::uint64_t kOfAnyUnit = std::uint64_t{1} << 40;
    return std::min<std::uint64_t>(kOfAnyUnit, std::numeric_limits<std::size_t>::max());
}

void checkConnections(const std::string& path, std::uint64_t memory, Findings& findings)
{
    const auto text = readConfigText(path, findings);
    if (!text) return;
    checkDomain(*text, path, memory, findings);

    std::vector<std::string> names;
    for (const ConfigContainer& container : text->containers) names.push_back(container.name);
    for (const NeededTopic& needed : kTopics) {
        if (const ConfigContainer* const topic = text->find(needed.name))
            checkTopic(*topic, needed.pubSubType, findings);
        else
            findings.fail(0, needed.name, "the topic is missing" + suggestion(needed.name, names));
    }
    for (const ConfigContainer& container : text->containers) {
        const bool isTopic = container.find("TopicType") || container.find("PubSubType");
        const bool isNeeded = std::ranges::any_of(
            kTopics, [&](const NeededTopic& needed) { return text->find(needed.name) == &container; });
        if (isTopic && !isNeeded && !container.name.empty()) checkTopic(container, nullptr, findings);
    }
}

}  // namespace orvanectl
