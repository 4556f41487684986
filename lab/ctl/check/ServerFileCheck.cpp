#include "VICTORY/OrvaneServer/ServerConfigFile.h"
#include "VICTORY/Utilities/ClearDataCommand.h"
#include "face/FACE_Text.h"
#include "lab/ctl/check/Checks.h"
#include "lab/ctl/check/Silence.h"
#include "utilities/StringUtils.h"

#include <sys/wait.h>
#include <unistd.h>

namespace orvanectl {

namespace {

using Kind = KeyRule::Kind;

constexpr KeyRule kUnitKeys[] = {
    {"System", Kind::Text, 0, 0, "the product variant, KOLT, RENS or SarventPlus"},
    {"Configuration", Kind::Text, 0, 0, "a name"},
};

constexpr KeyRule kServerKeys[] = {
    {"Connections", Kind::Text, 0, 0, "the file of the bus connections"},
    {"IODevices", Kind::Text, 0, 0, "the file of the devices"},
    {"Debug", Kind::Boolean, 0, 0, "true for more console output"},
    {"PRI", Kind::Number, 0, 99, "the real-time priority, 1 to 99, or 0 to leave it alone"},
    {"CPU", Kind::Number, 0, 255, "the processor, counted from 1, or 0 to leave it alone"},
    {"PARAM_1", Kind::Boolean, 0, 0, "true for no console line for each message"},
    {"PARAM_2", Kind::Boolean, 0, 0, "true for faults from the keyboard"},
    {"PARAM_3", Kind::Number, 0, 255, "the server whose UTCTime is taken; 0 takes any"},
    {"PARAM_4", Kind::Number, 0, 255, "the server whose PositionVelocityAttitude is taken; 0 takes any"},
    {"PARAM_5", Kind::Decimals, 0, 255, "the servers whose GPS-receiver frames are taken, with commas between them"},
    {"PARAM_6", Kind::Number, 0, 255, "the server whose MeasurementIncorporationStatus is taken; 0 takes any"},
    {"PARAM_7", Kind::Number, 0, 255, "the server whose HalvexPNT is taken; 0 takes any"},
    {"PARAM_8", Kind::Decimals, 0, 4294967295, "two numbers of seconds with a comma between them, such as 12,7200"},
    {"PARAM_9", Kind::Number, 0, 2147483647, "seconds for a commanded built-in test"},
};

/// A section of the file; a failure, and null, if it is not there.
const ConfigContainer* sectionOf(const ConfigText& text, const std::string& name, Findings& findings)
{
    const ConfigContainer* const section = text.find(name);
    if (section) return section;
    std::vector<std::string> names;
    for (const ConfigContainer& container : text.containers) names.push_back(container.name);
    findings.fail(0, name, "the section is missing" + suggestion(name, names));
    return nullptr;
}

/// A key that names servers, and one that sends what is taken from them.
struct SourceKey {
    const char* name;
    std::uint8_t usual;
};

constexpr SourceKey kSourceKeys[] = {
    {"PARAM_3", 37}, {"PARAM_4", 96}, {"PARAM_6", 96}, {"PARAM_7", 96}, {"PARAM_5", 39}};

/// @return those that there are
std::vector<NamedServer> checkServers(const ConfigContainer& section, Findings& findings)
{
    std::vector<NamedServer> servers;
    for (const auto& [key, usual] : kSourceKeys) {
        const ConfigKey* const found = section.find(key);
        if (!found) continue;
        const bool isList = std::string_view(key) == "PARAM_5";
        const auto parts = isList ? StringUtils::split(found->text, ',') : std::vector<std::string>{found->text};
        for (const std::string& part : parts) {
            const auto id = static_cast<std::uint8_t>(std::strtoull(part.c_str(), nullptr, isList ? 10 : 0));
            if (id == 0) continue;
            const std::string place = section.name + '/' + key;
            if (std::string_view(ASPN2::ServerIds::to_string(id)) == "INVALID_SERVER_ID")
                findings.warn(found->line, place,
                              "no server has the number " + std::to_string(id) +
                                  ", so nothing will be taken from it; " + std::to_string(usual) + " (" +
                                  ASPN2::ServerIds::to_string(usual) + ") is one" +
                                  (isList ? "" : ", and 0 takes any"));
            else
                servers.push_back({place, found->line, id});
        }
    }
    return servers;
}

/// The service looks for such a file from wherever it is started.
void checkPaths(const ConfigContainer& section, Findings& findings)
{
    for (const char* key : {"Connections", "IODevices"}) {
        const ConfigKey* const found = section.find(key);
        if (!found || found->text.empty() || found->text.starts_with('/')) continue;
        findings.warn(
            found->line, section.name + '/' + key,
            '"' + found->text +
                "\" is looked for in the folder that the service is started in; a path from / may stand here");
    }
}

/// @param settings  as the service has read them
void checkLists(const ConfigContainer& section, const ServerSettings& settings, Findings& findings)
{
    const ConfigKey* const sources = section.find("PARAM_5");
    const std::string place = section.name + '/';
    if (sources && !sources->text.empty() && settings.m_gssipSourceServers.empty())
        findings.warn(
            sources->line, place + sources->name,
            "accepts frames of no server; a GPS receiver's number, such as 39, makes Blended Navigation possible");
    const ConfigKey* const limits = section.find("PARAM_8");
    if (limits && settings.m_clearDataInProgressTimeoutSeconds == 0)
        findings.warn(limits->line, place + limits->name,
                      "the second number is 0, so that each erasing of data times out at once; 7200 is usual");
    const std::string first = std::to_string(settings.m_clearDataRequestTimeoutSeconds);
    const std::string wait = std::to_string(ClearDataCommand::kRequestWait.count());
    if (limits && first != wait)
        findings.note(limits->line, place + limits->name,
                      "the first number, " + first + ", sets nothing: an answer is waited for " + wait +
                          " seconds, whatever it is, and messages alone tell " + first + "; " + wait + " is usual");
    const ConfigKey* const test = section.find("PARAM_9");
    if (test && settings.m_BITtimeoutSeconds == 0)
        findings.warn(test->line, place + test->name, "is 0, so that each built-in test fails at once; 25 is usual");
    if (limits && !limits->text.empty() && StringUtils::split(limits->text, ',').size() != 2)
        findings.warn(limits->line, place + limits->name,
                      '"' + limits->text +
                          "\" is not two values, so that 12,7200 is taken; two numbers of seconds with a "
                          "comma between them may stand here");
}

/// Asks the system for the scheduling, in a process that ends with it.
bool isSchedulingGranted(const Scheduling& scheduling)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const Silence silence;
        ::_exit(scheduling.apply("") ? 0 : 1);
    }
    int status = 1;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void checkScheduling(const ConfigContainer& section, const Scheduling& scheduling, bool looksAtMachine,
                     Findings& findings)
{
    const auto refuse = [&](const char* key, const std::string& what) {
        const ConfigKey* const found = section.find(key);
        findings.fail(found ? found->line : section.line, section.name + '/' + key, what);
    };
    if (scheduling.cpu != 0 && (scheduling.cpu & 0xFF) == 0)
        refuse("CPU", "its low 8 bits are 0, which is no processor; 1 is the first");
    if (!looksAtMachine) return;
    if (scheduling.priority != 0 && !isSchedulingGranted({scheduling.priority, 0}))
        refuse("PRI", "this machine refuses the priority to whoever runs this check; CAP_SYS_NICE allows it");
    if ((scheduling.cpu & 0xFF) != 0 && !isSchedulingGranted({0, scheduling.cpu}))
        refuse("CPU", "this machine refuses the processor; it has " + std::to_string(::sysconf(_SC_NPROCESSORS_CONF)) +
                          ", counted from 1");
}

}  // namespace

std::vector<NamedServer> checkServerFile(const CheckOptions& options, ServerSettings& settings, Findings& findings)
{
    std::vector<NamedServer> servers;
    const auto text = readConfigText(options.file, findings);
    if (!text) return servers;
    const std::size_t before = findings.errors();
    if (const ConfigContainer* const unit = sectionOf(*text, SYST_NAME, findings)) {
        checkKeys(*unit, kUnitKeys, findings);
        const ConfigKey* const system = unit->find("System");
        if (system && !system->text.empty() && ASPN2::SystemIds::from_string(system->text.c_str()) == 0)
            findings.warn(system->line, unit->name + "/System",
                          '"' + system->text + "\" is no product variant; KOLT, RENS or SarventPlus is" +
                              suggestion(system->text, {"KOLT", "RENS", "SarventPlus"}));
    }
    const ConfigContainer* const section = sectionOf(*text, settings.m_serverName, findings);
    if (section) {
        checkKeys(*section, kServerKeys, findings);
        servers = checkServers(*section, findings);
        checkPaths(*section, findings);
    }

    Scheduling scheduling;
    bool isRead = false;
    {
        const Silence silence;
        isRead = ServerConfigFile::read(FACE::String(options.file.c_str()), settings, scheduling);
    }
    if (isRead && section) checkLists(*section, settings, findings);
    if (section) checkScheduling(*section, scheduling, options.folder.empty(), findings);
    if (!isRead && findings.errors() == before) findings.fail(0, "", "the service does not take this file");
    return servers;
}

}  // namespace orvanectl
