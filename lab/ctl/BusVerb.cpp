#include "lab/ctl/BusLink.h"
#include "lab/ctl/BusRequests.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/ctl/Verb.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvanectl {

namespace {

using Json = BusLink::Json;

struct BusArguments {
    std::string socket;
    bool json = false;
    unsigned long count = 0;
    std::vector<std::string> names;
};

std::string defaultSocket()
{
    const char* const path = std::getenv("ORVANE_LAB_BUS");
    return path ? path : "";
}

/// Whether a line is of a name that is asked for: any, if none is.
bool isWatched(const Json& line, const std::vector<std::string>& names)
{
    if (names.empty()) return true;
    const std::string type = line.is_object() ? line.value("type", "") : "";
    return std::ranges::find(names, type == "tell" ? line.value("tell", "") : type) != names.end();
}

/// "navwar-sa and faults", or "lines of the bus" if none is asked for.
std::string watchedText(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " and ") + name;
    return text.empty() ? "lines of the bus" : text;
}

ExitStatus watch(const BusArguments& options)
{
    BusLink link(options.socket);
    std::optional<Progress> progress(std::in_place, STDERR_FILENO);
    progress->say("waits for " + watchedText(options.names));
    for (unsigned long lines = 0; options.count == 0 || lines < options.count;) {
        const auto text = link.nextLine();
        if (!text) break;
        const Json line = Json::parse(*text, nullptr, false);
        if (!isWatched(line, options.names)) continue;
        progress.reset();
        printLine(std::cout, options.json ? *text : busSummary(line));
        if (!std::cout) return kFailed;
        ++lines;
    }
    return kDone;
}

/// The answer; whoever waits for it at a terminal is told so, until the first line is shown.
Json awaited(BusLink& link, Json request, const std::function<void(const Json&)>& onTold)
{
    std::optional<Progress> progress(std::in_place, STDERR_FILENO);
    progress->say("waits for the answer");
    return link.ask(std::move(request), [&](const Json& told) {
        progress.reset();
        if (onTold) onTold(told);
    });
}

ExitStatus ask(const std::string& socket, Json request, bool json)
{
    BusLink link(socket);
    const Json answer = awaited(link, std::move(request),
                                [&](const Json& told) { printLine(std::cout, json ? told.dump() : busSummary(told)); });
    if (json || !answer.contains("publications"))
        printLine(std::cout, answer.dump());
    else
        for (const Json& publication : answer["publications"]) printLine(std::cout, busSummary(publication));
    return answer.value("ok", false) && std::cout ? kDone : kFailed;
}

/// The configuration is told as it is collected, and the request waits only until it is whole: shows what was told last.
ExitStatus askForConfiguration(const std::string& socket, Json request, bool json)
{
    BusLink link(socket);
    const Json answer = awaited(link, std::move(request), {});
    const Json told = link.ask({{"request", "last"}, {"name", "system-configuration"}});
    if (answer.value("ok", false) && told.contains("publications"))
        for (const Json& publication : told["publications"])
            printLine(std::cout, json ? publication.dump() : busSummary(publication));
    printLine(std::cout, answer.dump());
    return answer.value("ok", false) && std::cout ? kDone : kFailed;
}

constexpr const char* kBusExamples =
    "Examples:\n"
    "  orvanectl bus --socket /tmp/bus watch\n"
    "  orvanectl bus last blended-navigation --json\n"
    "  orvanectl bus clear-data all\n"
    "  orvanectl bus bit-results 0 1\n"
    "\n"
    "Exit status: 0 if the request was answered and had no error, else 1; 2 for a wrong\n"
    "command line.";

ExitStatus run(const BusArguments& options, const CLI::App& watching, const BusRequests& requests)
{
    if (options.socket.empty()) {
        printLine(std::cerr, "orvanectl: no bus: give --socket or set ORVANE_LAB_BUS");
        return kMisused;
    }
    try {
        if (watching.parsed()) return watch(options);
        Json request = requests.parsed();
        const auto make = request.at("request") == "system-configuration" ? askForConfiguration : ask;
        return make(options.socket, std::move(request), requests.wantsJson());
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kFailed;
    }
}

}  // namespace

Verb addBusVerb(CLI::App& tool)
{
    const auto options = std::make_shared<BusArguments>();
    options->socket = defaultSocket();
    CLI::App* const bus = tool.add_subcommand("bus", "Watch the bus of the lab, and make requests as its clients do.");
    bus->footer(kBusExamples);
    bus->require_subcommand(1);
    bus->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS")->type_name("PATH");
    CLI::App* const watching = bus->add_subcommand("watch", "print a line for each publication, until the bus closes");
    watching->footer("Examples:\n  orvanectl bus watch navwar-sa warning-messages --count 2");
    watching->add_option("NAME", options->names, "only those of these names")
        ->check(CLI::Validator(unknownBusName, ""))
        ->type_name("");
    watching->add_flag("--json", options->json, "as it comes");
    watching->add_option("--count", options->count, "end after so many lines")->type_name("N");
    const auto requests = std::make_shared<BusRequests>(*bus);
    return {bus, [options, watching, requests] { return run(*options, *watching, *requests); }};
}

}  // namespace orvanectl
