#include "ASPN/AspnDeviceIds.h"
#include "lab/ctl/CommandWords.h"
#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/DecodeFormats.h"
#include "lab/ctl/FrameFields.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/ctl/Verb.h"
#include "utilities/ConsoleLine.h"

#include <exception>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr orvanectl::Verb (*kVerbs[])(CLI::App&) = {
    orvanectl::addDecodeVerb, orvanectl::addBusVerb,    orvanectl::addEchoVerb, orvanectl::addHzVerb,
    orvanectl::addCheckVerb,  orvanectl::addPubVerb,    orvanectl::addSeqVerb,  orvanectl::addWhyVerb,
    orvanectl::addTopVerb,    orvanectl::addRecordVerb, orvanectl::addInfoVerb, orvanectl::addCutVerb,
    orvanectl::addCsvVerb,    orvanectl::addRepairVerb, orvanectl::addPlayVerb, orvanectl::addServeVerb,
    orvanectl::addReportVerb};

constexpr const char* kExamples = "Examples:\n"
                                  "  orvanectl decode queue.bin\n"
                                  "  orvanectl decode --json - < frames.bin\n"
                                  "  orvanectl bus --socket /tmp/bus watch\n"
                                  "  orvanectl echo EventLog --backfill\n"
                                  "  orvanectl hz\n"
                                  "  orvanectl check\n"
                                  "  orvanectl why --for 60\n"
                                  "  orvanectl top\n"
                                  "  orvanectl serve\n"
                                  "  orvanectl record -o drive.mcap --for 5\n"
                                  "  orvanectl play drive.mcap\n"
                                  "  orvanectl report drive.mcap -o drive.html\n"
                                  "  orvanectl pub Command --set command_response=START_ZEROIZE\n"
                                  "  orvanectl seq my.seq\n"
                                  "  orvanectl decode --help";

#define ORVANECTL_NAME(number, symbol, name) name,
constexpr const char* kServers[] = {ASPN2_SERVER_IDS(ORVANECTL_NAME)};
constexpr const char* kSystems[] = {ASPN2_SYSTEM_IDS(ORVANECTL_NAME)};
#undef ORVANECTL_NAME

/// Types by the catalogue, names of the bus, of frames, servers and systems by their tables, topics by the unit's
/// connection file; on a machine without one topics are named as their types.
orvanectl::KnownValues knownValues()
{
    std::vector<std::string> types, topics;
    for (const orvanectl::RecordType& type : orvanectl::recordTypes()) types.emplace_back(type.name);
    try {
        const orvanectl::ConnectionFile file("/opt/halvex/config/Connections.xml");
        for (const auto& topic : file.topics()) topics.push_back(topic.name);
    } catch (const std::exception&) {
        topics = types;
    }
    std::vector<std::string> published = topics;
    for (const std::string& frame : orvanectl::frameNames()) published.push_back(frame);
    return {{"TOPIC", topics},
            {"pub TOPIC", published},
            {"--type", types},
            {"pub --from", {std::begin(kServers), std::end(kServers)}},
            {"pub --system", {std::begin(kSystems), std::end(kSystems)}},
            {"decode --format", orvanectl::decodeFormats()},
            {"watch NAME", orvanectl::busNames()},
            {"last NAME", orvanectl::keptNames()},
            {"TELL", orvanectl::tellNames()},
            {"DATA", {"all", "crypto", "invalid"}}};
}

/// Its table is the tool's command line, so that it has all of the others.
orvanectl::Verb addCompletionVerb(CLI::App& tool)
{
    CLI::App* const command = tool.add_subcommand(
        "completion", "Print a script that completes verbs, options, and names of topics, types and the bus in bash.");
    command->footer("Examples:\n  source <(orvanectl completion)");
    return {command, [&tool] {
                std::cout << orvanectl::bashCompletion(tool, knownValues());
                if (std::cout.flush()) return orvanectl::kDone;
                printLine(std::cerr, "orvanectl: cannot write to standard output");
                return orvanectl::kFailed;
            }};
}

int run(int argc, char** argv)
{
    CLI::App tool("Looks at what OrvaneServer exchanges with the unit, and takes part in it.", "orvanectl");
    tool.set_version_flag("--version", "orvanectl " ORVANE_VERSION);
    tool.footer(kExamples);
    tool.require_subcommand(1);
    tool.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "orvanectl: " + std::string(error.what()) + " (orvanectl --help tells more)\n";
    });

    std::vector<orvanectl::Verb> verbs;
    for (const auto add : kVerbs) verbs.push_back(add(tool));
    verbs.push_back(addCompletionVerb(tool));
    try {
        tool.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
        const bool isWord = code == CLI::ExitCodes::RequiredError || code == CLI::ExitCodes::ExtrasError;
        if (const std::string what = isWord ? orvanectl::unknownWord(tool) : ""; !what.empty()) {
            printLine(std::cerr, "orvanectl: ", what, " (orvanectl --help tells more)");
            return orvanectl::kMisused;
        }
        // Help and version end this way too, with 0.
        if (tool.exit(error, std::cout, std::cerr) != 0) return orvanectl::kMisused;
        if (std::cout.flush()) return orvanectl::kDone;
        printLine(std::cerr, "orvanectl: cannot write to standard output");
        return orvanectl::kFailed;
    }
    for (const orvanectl::Verb& verb : verbs)
        if (verb.command->parsed()) return verb.run();
    return orvanectl::kMisused;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return orvanectl::kFailed;
    }
}
