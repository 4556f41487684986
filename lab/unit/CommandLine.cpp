#include "lab/unit/CommandLine.h"

#include "lab/text/NearestWord.h"
#include "lab/text/Words.h"
#include "lab/unit/EventText.h"
#include "lab/unit/ScenarioText.h"
#include "utilities/ConsoleLine.h"
#include "utilities/StringUtils.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace unitsim {

namespace {

constexpr int kMisused = 2;
constexpr double kLongest = 1e8;  // s

constexpr const char* kFooter = "OUTPUT is one of pva, utc, pnt, mis, assurance (or the name of the topic) and 8504.\n"
                                "FROM:TO are seconds from the start; FROM alone has no end.\n"
                                "Examples:\n"
                                "  unit-sim --rate 1 --gps-lost 20:40\n"
                                "  unit-sim --offset mis=1.0 --mute pva=10:15\n"
                                "  unit-sim --answers nack --command START_ZEROIZE@30\n"
                                "  unit-sim --threat 'jam az=90 + bare az=-20 el=5@8' --warn '6 ANTENNA OPEN@10'";

std::invalid_argument wrong(const std::string& option, const std::string& value, const std::string& what)
{
    return std::invalid_argument(option + ": '" + value + "' " + what);
}

double secondsOf(const std::string& option, const std::string& text, const std::string& value)
{
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(number) || std::abs(number) > kLongest)
        throw wrong(option, value, "has no number of seconds");
    return number;
}

Window windowOf(const std::string& option, const std::string& text, const std::string& value)
{
    const auto colon = text.find(':');
    Window window;
    window.from = secondsOf(option, text.substr(0, colon), value);
    if (colon != std::string::npos) window.to = secondsOf(option, text.substr(colon + 1), value);
    if (window.to <= window.from) throw wrong(option, value, "ends before it begins");
    return window;
}

std::size_t outputOf(const std::string& option, const std::string& name)
{
    if (const auto output = outputNamed(name)) return indexOf(*output);
    const std::vector<std::string_view> names(kShortOutputNames.begin(), kShortOutputNames.end());
    throw std::invalid_argument(option + ": " + labtext::noneOf(names, name, name, "is no output").what());
}

/// Reads the value of an option, and names the option if it can't.
template <class Read>
auto read(const std::string& option, Read&& reading)
{
    try {
        return reading();
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(option + ": " + error.what());
    }
}

/// What an option TEXT@SECONDS says.
/// @param happeningOf  makes it of a text
template <class HappeningOf>
Event eventOf(const std::string& option, const std::string& value, HappeningOf&& happeningOf)
{
    const auto sign = value.rfind('@');
    if (sign == std::string::npos || sign == 0) throw wrong(option, value, "is not of the form TEXT@SECONDS");
    const double seconds = secondsOf(option, value.substr(sign + 1), value);
    if (seconds < 0.0) throw wrong(option, value, "has no number of seconds from the start");
    return {seconds, read(option, [&]() -> Happening { return happeningOf(value.substr(0, sign)); })};
}

/// What an option OUTPUT=VALUE says.
std::pair<std::size_t, std::string> assignmentOf(const std::string& option, const std::string& value)
{
    const auto equals = value.find('=');
    if (equals == std::string::npos) throw wrong(option, value, "is not of the form OUTPUT=VALUE");
    return {outputOf(option, value.substr(0, equals)), value.substr(equals + 1)};
}

/// The texts of those options that CLI11 does not turn into values itself.
struct Texts {
    std::vector<std::string> topics;
    std::vector<std::string> offsets;
    std::vector<std::string> servers;
    std::vector<std::string> mutes;
    std::vector<std::string> gpsLost;
    std::vector<std::string> commands;
    std::vector<std::string> threats;
    std::vector<std::string> warnings;
    std::string scenario;
    std::vector<std::string> bitFail;
    std::vector<std::string> silent;
    std::string answers = "normal";
    bool noPost = false;
    bool noFlags = false;
    bool noRegisters = false;
};

constexpr std::size_t kWarningFrames = kOutputs;
constexpr std::size_t kThreatFrames = kOutputs + 1;

/// An output, or one of the frames that only events send.
std::pair<std::size_t, std::string> serverAssignmentOf(const std::string& value)
{
    if (value.starts_with("5044=")) return {kWarningFrames, value.substr(5)};
    if (value.starts_with("15051=")) return {kThreatFrames, value.substr(6)};
    return assignmentOf("--server", value);
}

std::uint8_t& serverOf(Settings& settings, std::size_t output)
{
    if (output == kWarningFrames) return settings.warningServer;
    if (output == kThreatFrames) return settings.threatServer;
    return settings.outputs[output].server;
}

void applyEvents(const Texts& texts, Settings& settings)
{
    if (!texts.scenario.empty()) {
        Scenario scenario = readScenario(texts.scenario);
        settings.events = std::move(scenario.events);
        settings.world = std::move(scenario.world);
    }
    for (const std::string& value : texts.commands)
        settings.events.push_back(
            eventOf("--command", value, [](const std::string& text) { return SendCommand{text}; }));
    for (const std::string& value : texts.threats)
        settings.events.push_back(eventOf("--threat", value, threatReportOf));
    for (const std::string& value : texts.warnings) settings.events.push_back(eventOf("--warn", value, warningOf));
}

void apply(const Texts& texts, Settings& settings)
{
    if (!texts.topics.empty()) {
        for (OutputSettings& output : settings.outputs) output.enabled = false;
        for (const std::string& name : texts.topics)
            if (name != "none") settings.outputs[outputOf("--topics", name)].enabled = true;
    }
    for (const std::string& value : texts.offsets) {
        const auto [output, text] = assignmentOf("--offset", value);
        settings.outputs[output].offsetSeconds = secondsOf("--offset", text, value);
    }
    for (const std::string& value : texts.servers) {
        const auto [output, text] = serverAssignmentOf(value);
        char* end = nullptr;
        const long id = std::strtol(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0' || id < 0 || id > 255) throw wrong("--server", value, "has no id, 0 to 255");
        serverOf(settings, output) = static_cast<std::uint8_t>(id);
    }
    for (const std::string& value : texts.mutes) {
        const auto [output, text] = assignmentOf("--mute", value);
        settings.outputs[output].mutes.push_back(windowOf("--mute", text, value));
    }
    for (const std::string& value : texts.gpsLost) settings.gpsLost.push_back(windowOf("--gps-lost", value, value));
    applyEvents(texts, settings);
    for (const std::string& value : texts.bitFail) {
        const SetFinding found = read("--bit-fail", [&] { return findingOf(value); });
        settings.findings[found.server] = found.finding;
    }
    for (const std::string& value : texts.silent)
        settings.silentComponents.insert(read("--silent", [&] { return componentOf(value); }));
    settings.answers = read("--answers", [&] { return answersOf(texts.answers); });
    if (texts.noPost) settings.postAfterSeconds.reset();
    settings.flags = !texts.noFlags;
    settings.registers = !texts.noRegisters;
}

/// A number between two others, or one of these. What is not a number would pass a check that only compares it with both.
CLI::Validator isBetween(double least, double most)
{
    const CLI::Range range(least, most);
    const auto check = [range](std::string& text) -> std::string {
        double number = 0;
        return CLI::detail::lexical_cast(text, number) && std::isnan(number) ? text + " is no number" : range(text);
    };
    return {check, range.get_description()};
}

void addFiles(CLI::App& tool, Settings& settings)
{
    tool.add_option("--connections", settings.connections, "connection file of the unit")->capture_default_str();
    tool.add_option("--devices", settings.devices, "IO devices file of the unit")->capture_default_str();
    tool.add_option("--memory", settings.memory, "file that stands in for physical memory")->capture_default_str();
    tool.add_option("--queue-prefix", settings.queuePrefix, "path of a queue without its number")
        ->capture_default_str();
    tool.add_option("--flags", settings.flagDirectory, "directory of the flag files")->capture_default_str();
    tool.add_option("--system", settings.system, "system of the device ids")->capture_default_str();
}

void addNavigation(CLI::App& tool, Settings& settings, Texts& texts)
{
    tool.add_option("--topics", texts.topics, "OUTPUT,...: what is sent; none sends nothing (default: all six)")
        ->delimiter(',');
    tool.add_option("--rate", settings.rateHz, "epochs a second")
        ->check(isBetween(0.01, 1000.0))
        ->capture_default_str();
    tool.add_option("--offset", texts.offsets, "OUTPUT=SECONDS: added to its time of validity");
    tool.add_option("--server", texts.servers, "OUTPUT=ID: the server that it comes from");
    tool.add_option("--mute", texts.mutes, "OUTPUT=FROM:TO: not sent in this time");
    tool.add_option("--gps-lost", texts.gpsLost, "FROM:TO: no GPS in this time");
    tool.add_option("--assurance", settings.assurance, "assurance state (default: 2 with GPS, 1 without)");
    tool.add_option("--measurements", settings.measurementEntries,
                    "entries of the measurement status (0: the real ones)")
        ->check(CLI::Range(0, 100));
    tool.add_option("--report-words", settings.reportWords, "data words of 8504; only 200 is right")
        ->check(CLI::Range(0, 1900))
        ->capture_default_str();
    tool.add_flag("--receiver-failure", settings.receiverFailure, "8504 tells of a receiver failure");
    tool.add_flag("--receiver-status", settings.receiverStatus, "8504 has its second status bit set");
    tool.add_option("--utc", settings.utcSeconds, "seconds since 1970 of the start (default: now)")
        ->check(CLI::Range(std::int64_t{315964800}, std::int64_t{4000000000}));
    tool.add_option("--seed", settings.seed, "of the errors of the navigation, and of random events")
        ->capture_default_str();
}

void addCommands(CLI::App& tool, Settings& settings, Texts& texts)
{
    tool.add_option("--answers", texts.answers,
                    "normal, none, nack, fail, ack-only, or FIRST,LAST of ack, nack, none and "
                    "pass, fail, none: how commands are answered");
    const auto seconds = isBetween(0.0, kLongest);
    tool.add_option("--answer-delay", settings.answerDelaySeconds, "seconds to the first answer")
        ->check(seconds)
        ->capture_default_str();
    tool.add_option("--erase-seconds", settings.eraseSeconds, "seconds that a zeroize or destroy takes")
        ->check(seconds)
        ->capture_default_str();
    tool.add_option("--bit-seconds", settings.bitSeconds, "seconds that a built-in test takes")
        ->check(seconds)
        ->capture_default_str();
    tool.add_option(
            "--bit-fail", texts.bitFail,
            "ID[:FINDING],...: servers that fail the built-in test, by an error or by critical, silent, warning")
        ->delimiter(',');
    tool.add_option("--silent", texts.silent, "NAME,...: components that don't tell their part numbers")
        ->delimiter(',');
    tool.add_option("--command", texts.commands, "TEXT@SECONDS: a command that the system controller sends");
}

void addEvents(CLI::App& tool, Settings& settings, Texts& texts)
{
    const auto rate = isBetween(0.0, 1000.0);
    tool.add_option("--scenario", texts.scenario,
                    "FILE with a line for each event or place, such as: at 5 warn 6 ANTENNA OPEN");
    tool.add_option("--threat", texts.threats, "KIND KEY=VALUE... + ...@SECONDS: a threat report, such as jam az=90@5");
    tool.add_option("--warn", texts.warnings, "NUMBER TEXT@SECONDS: a warning of the receiver");
    tool.add_option("--threat-rate", settings.threatRateHz, "random threat reports a second, on the average")
        ->check(rate)
        ->capture_default_str();
    tool.add_option("--warn-rate", settings.warningRateHz, "random warnings a second, on the average")
        ->check(rate)
        ->capture_default_str();
}

void addUnit(CLI::App& tool, Settings& settings, Texts& texts)
{
    tool.add_option("--post-after", settings.postAfterSeconds, "seconds to the end of the self test (default: 2)")
        ->check(isBetween(0.0, kLongest));
    tool.add_flag("--no-post", texts.noPost, "the self test never ends");
    tool.add_flag("--no-flags", texts.noFlags, "leave the flag files alone");
    tool.add_flag("--no-registers", texts.noRegisters, "leave the register memory alone");
    tool.add_option("--clock-rate", settings.clockRate, "what the clock rate register tells")->capture_default_str();
    tool.add_option("--uptime", settings.uptimeSeconds, "seconds that the system count begins with, at least")
        ->check(isBetween(0.0, kLongest))
        ->capture_default_str();
    tool.add_option("--count-step", settings.countStepSeconds, "seconds between two writes of the system count")
        ->check(isBetween(0.0001, 10.0))
        ->capture_default_str();
    tool.add_option("--duration", settings.durationSeconds, "seconds to run (default: until it is stopped)")
        ->check(isBetween(0.0, kLongest));
    tool.add_option("--control", settings.control, "socket that takes lines of a scenario while it runs");
    tool.add_flag("--repeatable", settings.repeatable,
                  "the same seed and scenario send the same bytes: times are the planned ones, no epoch is left out");
    tool.add_option("--log", settings.log, "file that gets a line for all that is sent");
    tool.add_option("--receiver-copy", settings.receiverCopy,
                    "file that gets a copy of what the receiver's queue gets");
    tool.add_flag("-q,--quiet", settings.quiet, "say only what is wrong");
    tool.add_flag("-v,--verbose", settings.verbose, "a line for each epoch");
}

/// What to say of an option, or of a word without one, that there is not.
std::string unknownWord(const CLI::App& tool)
{
    const std::string word = tool.remaining().empty() ? "" : tool.remaining().front();
    if (!word.starts_with('-')) return "\"" + word + "\" belongs to no option";
    const std::string name = word.substr(0, word.find('='));
    std::vector<std::string> names;
    for (const CLI::Option* const option : tool.get_options())
        for (const std::string& one : option->get_lnames()) names.push_back("--" + one);
    const std::string nearest = labtext::nearestWord(name, names);
    return "no option \"" + name + '"' + (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?");
}

}  // namespace

CommandLine readCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err)
{
    Settings settings;
    Texts texts;
    CLI::App tool("Plays the rest of the unit for OrvaneServer: navigation, GPS receiver, FPGA and answering services. "
                  "Run it within lab/sandbox.",
                  "unit-sim");
    tool.footer(kFooter);
    addFiles(tool, settings);
    addNavigation(tool, settings, texts);
    addCommands(tool, settings, texts);
    addEvents(tool, settings, texts);
    addUnit(tool, settings, texts);
    try {
        tool.parse(argc, argv);
        apply(texts, settings);
    } catch (const CLI::CallForHelp&) {
        out << tool.help() << std::flush;
        return {std::nullopt, 0};
    } catch (const CLI::ExtrasError&) {
        printLine(err, "unit-sim: ", unknownWord(tool), " (unit-sim --help tells more)");
        return {std::nullopt, kMisused};
    } catch (const std::exception& error) {
        printLine(err, "unit-sim: ", error.what(), " (unit-sim --help tells more)");
        return {std::nullopt, kMisused};
    }
    return {std::move(settings), 0};
}

}  // namespace unitsim
