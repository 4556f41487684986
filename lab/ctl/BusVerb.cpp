#include "lab/ctl/BusLink.h"
#include "lab/ctl/Verb.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace orvanectl {

namespace {

using Json = BusLink::Json;

struct Options {
    std::string socket;
    bool json = false;
    unsigned long count = 0;
    bool raw = false;
    std::string name;
    std::vector<std::string> names;
    std::string data;
    std::vector<std::string> ids;
    std::string idCount;
    std::string file;
    std::string text;
    std::string stream = "stdout";
    int milliseconds = 0;
    int times = 1;
    int countOfIds = 0;
    bool withoutContext = false;
    std::string when = "now";
};

using Work = std::function<ExitStatus(const Options&)>;

std::string defaultSocket()
{
    const char* const path = std::getenv("ORVANE_LAB_BUS");
    return path ? path : "";
}

/// A whole number becomes one, anything else stays a text.
Json numberOrText(const std::string& text)
{
    const Json parsed = Json::parse(text, nullptr, false);
    return parsed.is_number_integer() ? parsed : Json(text);
}

std::string wholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Whether a line is of a name that is asked for: any, if none is.
bool isWatched(const Json& line, const std::vector<std::string>& names)
{
    if (names.empty()) return true;
    const std::string type = line.is_object() ? line.value("type", "") : "";
    return std::ranges::find(names, type == "tell" ? line.value("tell", "") : type) != names.end();
}

ExitStatus watch(const Options& options)
{
    BusLink link(options.socket);
    for (unsigned long lines = 0; options.count == 0 || lines < options.count;) {
        const auto text = link.nextLine();
        if (!text) break;
        const Json line = Json::parse(*text, nullptr, false);
        if (!isWatched(line, options.names)) continue;
        printLine(std::cout, options.json ? *text : busSummary(line));
        if (!std::cout) return kFailed;
        ++lines;
    }
    return kDone;
}

ExitStatus ask(const Options& options, Json request)
{
    const Json answer = BusLink(options.socket).ask(std::move(request), [&](const Json& told) {
        printLine(std::cout, options.json ? told.dump() : busSummary(told));
    });
    if (options.json || !answer.contains("publications"))
        printLine(std::cout, answer.dump());
    else
        for (const Json& publication : answer["publications"]) printLine(std::cout, busSummary(publication));
    return answer.value("ok", false) && std::cout ? kDone : kFailed;
}

Json bitRequest(const char* request, const Options& options)
{
    Json body = {{"request", request}};
    if (!options.ids.empty()) body["ids"] = options.ids;
    if (!options.idCount.empty()) body["count"] = numberOrText(options.idCount);
    return body;
}

ExitStatus last(const Options& options)
{
    Json request = {{"request", "last"}, {"raw", options.raw}};
    if (!options.name.empty()) request["name"] = options.name;
    Options shown = options;
    shown.json = options.json || options.raw;
    return ask(shown, request);
}

/// The configuration is told as it is collected, and the request waits only until it is whole: shows what was told last.
ExitStatus systemConfiguration(const Options& options)
{
    BusLink link(options.socket);
    const Json answer = link.ask({{"request", "system-configuration"}});
    const Json told = link.ask({{"request", "last"}, {"name", "system-configuration"}});
    if (answer.value("ok", false) && told.contains("publications"))
        for (const Json& publication : told["publications"])
            printLine(std::cout, options.json ? publication.dump() : busSummary(publication));
    printLine(std::cout, answer.dump());
    return answer.value("ok", false) && std::cout ? kDone : kFailed;
}

ExitStatus clearData(const Options& options)
{
    Json request = {{"request", "clear-data"}};
    if (!options.data.empty()) request["data"] = numberOrText(options.data);
    return ask(options, request);
}

ExitStatus releaseTell(const Options& options)
{
    Json request = {{"request", "release-tell"}};
    if (!options.name.empty()) request["tell"] = options.name;
    return ask(options, request);
}

constexpr const char* kExamples = "Examples:\n"
                                  "  orvanectl bus --socket /tmp/bus watch\n"
                                  "  orvanectl bus last blended-navigation --json\n"
                                  "  orvanectl bus clear-data all\n"
                                  "  orvanectl bus bit-results 0 1\n"
                                  "\n"
                                  "Exit status: 0 if the request was answered and had no error, else 1; 2 for a wrong\n"
                                  "command line.";

/// The verb's own subcommands, and what each does.
class BusCommands {
public:
    BusCommands(CLI::App& bus, std::shared_ptr<Options> options) : m_bus(bus), m_options(std::move(options)) {}

    /// @param example  the words behind "orvanectl bus"
    CLI::App& add(const char* name, const char* what, const char* example, Work work)
    {
        CLI::App* const command = m_bus.add_subcommand(name, what);
        command->footer(std::string("Examples:\n  orvanectl bus ") + example);
        m_commands.emplace_back(command, std::move(work));
        return *command;
    }
    CLI::App& addRequest(const char* name, const char* what)
    {
        return add(name, what, name, [name](const Options& options) { return ask(options, {{"request", name}}); });
    }

    ExitStatus run() const
    {
        if (m_options->socket.empty()) {
            printLine(std::cerr, "orvanectl: no bus: give --socket or set ORVANE_LAB_BUS");
            return kMisused;
        }
        try {
            for (const auto& [command, work] : m_commands)
                if (command->parsed()) return work(*m_options);
        } catch (const std::exception& error) {
            printLine(std::cerr, "orvanectl: ", error.what());
            return kFailed;
        }
        return kMisused;
    }

private:
    CLI::App& m_bus;
    std::shared_ptr<Options> m_options;
    std::vector<std::pair<CLI::App*, Work>> m_commands;
};

/// What is told within the request is a summary, unless that is asked for.
CLI::App& telling(CLI::App& command, Options& options)
{
    command.add_flag("--json", options.json, "what is told comes as on the bus");
    return command;
}

void addBuiltInTests(BusCommands& commands, Options& options)
{
    telling(commands.addRequest("bit-run", "ask for a built-in test"), options);
    constexpr const char* kRows[][3] = {
        {"bit-results", "ask for results of tests; of all without an id", "bit-results 0 1"},
        {"bit-clear", "have results of tests forgotten; of all without an id", "bit-clear 0"}};
    for (const auto& [name, what, example] : kRows) {
        const std::string request = name;
        CLI::App& command = commands.add(
            name, what, example, [request](const Options& o) { return ask(o, bitRequest(request.c_str(), o)); });
        telling(command, options).add_option("ID", options.ids, "of tests")->type_name("");
        command.add_option("--count", options.idCount, "told instead of the number of ids")->type_name("N");
    }
}

void addForTests(BusCommands& commands, Options& options)
{
    CLI::App& print = commands.add("print", "print a text from within the library", "print 'a line' --stream stderr",
                                   [](const Options& o) {
                                       return ask(o, {{"request", "print"}, {"text", o.text}, {"stream", o.stream}});
                                   });
    print.add_option("TEXT", options.text)->required()->type_name("");
    print.add_option("--stream", options.stream, "stdout, stderr, cout or cerr")->type_name("STREAM");

    CLI::App& hold = commands.add(
        "hold-tell", "let each tell of a name take its time", "hold-tell navwar-sa 200", [](const Options& o) {
            return ask(o, {{"request", "hold-tell"}, {"tell", o.name}, {"milliseconds", o.milliseconds}});
        });
    hold.add_option("TELL", options.name)->required()->type_name("");
    hold.add_option("MILLISECONDS", options.milliseconds)->required()->type_name("");
    commands.add("release-tell", "let a tell go, or all", "release-tell navwar-sa", releaseTell)
        .add_option("TELL", options.name)
        ->type_name("");

    CLI::App& holdDelete = commands.add(
        "hold-delete", "let each deletion of a service take its time", "hold-delete 200", [](const Options& o) {
            return ask(o, {{"request", "hold-delete"}, {"milliseconds", o.milliseconds}});
        });
    holdDelete.add_option("MILLISECONDS", options.milliseconds)->required()->type_name("");

    CLI::App& misbehave = commands.add("misbehave", "have call-backs made as they should not be",
                                       "misbehave clear-data --times 4 --without-context", [](const Options& o) {
                                           return ask(o, {{"request", "misbehave"},
                                                          {"call", o.name},
                                                          {"times", o.times},
                                                          {"context", !o.withoutContext},
                                                          {"count", o.countOfIds},
                                                          {"when", o.when}});
                                       });
    misbehave.add_option("CALL", options.name, "as the request that makes it")->required()->type_name("");
    misbehave.add_option("--times", options.times, "beside each other")->type_name("N");
    misbehave.add_flag("--without-context", options.withoutContext, "with a null context");
    misbehave.add_option("--count", options.countOfIds, "of ids that are asked for")->type_name("N");
    misbehave.add_option("--when", options.when, "now, deletion or restart")->type_name("WHEN");
}

}  // namespace

Verb addBusVerb(CLI::App& tool)
{
    const auto options = std::make_shared<Options>();
    options->socket = defaultSocket();
    CLI::App* const bus = tool.add_subcommand("bus", "Watch the bus of the lab, and make requests as its clients do.");
    bus->footer(kExamples);
    bus->require_subcommand(1);
    bus->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS")->type_name("PATH");
    const auto commands = std::make_shared<BusCommands>(*bus, options);

    CLI::App& watching = commands->add("watch", "print a line for each publication, until the bus closes",
                                       "watch navwar-sa warning-messages --count 2", watch);
    watching.add_option("NAME", options->names, "only those of these names")->type_name("");
    watching.add_flag("--json", options->json, "as it comes");
    watching.add_option("--count", options->count, "end after so many lines")->type_name("N");

    CLI::App& lastOnes =
        commands->add("last", "print the last publications, or that of a name", "last blended-navigation --json", last);
    lastOnes.add_option("NAME", options->name)->type_name("");
    lastOnes.add_flag("--json", options->json, "the whole answer");
    lastOnes.add_flag("--raw", options->raw, "with the record's bytes; includes --json");

    commands->addRequest("status", "ask how the service is");
    commands->addRequest("faults", "list the faults that are raised");
    commands->addRequest("help", "list the requests of the bus");
    telling(commands->add("system-configuration", "ask for the system configuration", "system-configuration",
                          systemConfiguration),
            *options);
    telling(
        commands->add("clear-data", "have data cleared: all, crypto, invalid or a number", "clear-data all", clearData),
        *options)
        .add_option("DATA", options->data)
        ->type_name("");
    commands
        ->add("save-vcl", "have a VCL text saved", "save-vcl new.xml",
              [](const Options& o) {
                  return ask(o, {{"request", "save-vcl"}, {"text", wholeFile(o.file)}});
              })
        .add_option("FILE", options->file)
        ->required()
        ->type_name("");
    addBuiltInTests(*commands, *options);
    addForTests(*commands, *options);
    return {bus, [commands] { return commands->run(); }};
}

}  // namespace orvanectl
