#include "lab/ctl/BusRequests.h"

#include "lab/ctl/CommandWords.h"
#include "lab/ctl/UnknownNames.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace orvanectl {

namespace {

using Json = BusRequests::Json;

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

}  // namespace

struct BusRequests::Options {
    std::filesystem::path folder;
    bool json = false;
    bool raw = false;
    std::string name;
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

BusRequests::BusRequests(CLI::App& bus, const std::filesystem::path& folder)
    : m_bus(bus), m_options(std::make_unique<Options>())
{
    m_options->folder = folder;
    CLI::App& last = add("last", "print the last publications, or that of a name", "last blended-navigation --json",
                         [](const Options& o) {
                             Json body = {{"request", "last"}, {"raw", o.raw}};
                             if (!o.name.empty()) body["name"] = o.name;
                             return body;
                         });
    last.add_option("NAME", m_options->name)->check(CLI::Validator(unknownKeptName, ""))->type_name("");
    last.add_flag("--json", m_options->json, "the whole answer");
    last.add_flag("--raw", m_options->raw, "with the record's bytes; includes --json");

    addPlain("status", "ask how the service is");
    addPlain("faults", "list the faults that are raised");
    addPlain("help", "list the requests of the bus");
    telling(addPlain("system-configuration", "ask for the system configuration"));
    telling(add("clear-data", "have data cleared: all, crypto, invalid or a number", "clear-data all",
                [](const Options& o) {
                    Json body = {{"request", "clear-data"}};
                    if (!o.data.empty()) body["data"] = numberOrText(o.data);
                    return body;
                }))
        .add_option("DATA", m_options->data)
        ->type_name("");
    add("save-vcl", "have a VCL text saved", "save-vcl new.xml",
        [](const Options& o) -> Json {
            return {{"request", "save-vcl"}, {"text", wholeFile((o.folder / o.file).string())}};
        })
        .add_option("FILE", m_options->file)
        ->required()
        ->type_name("");
    addBuiltInTests();
    addForTests();
}

BusRequests::~BusRequests() = default;

BusRequests::Json BusRequests::parsed() const
{
    const auto command = std::ranges::find_if(m_commands, [](const auto& row) { return row.first->parsed(); });
    return command == m_commands.end() ? Json() : command->second(*m_options);
}

bool BusRequests::wantsJson() const
{
    return m_options->json || m_options->raw;
}

/// @param example  the words behind "orvanectl bus"
CLI::App& BusRequests::add(const char* name, const char* what, const char* example, Body body)
{
    CLI::App* const command = m_bus.add_subcommand(name, what);
    command->footer(std::string("Examples:\n  orvanectl bus ") + example);
    m_commands.emplace_back(command, std::move(body));
    return *command;
}

CLI::App& BusRequests::addPlain(const char* name, const char* what)
{
    return add(name, what, name, [name](const Options&) -> Json { return {{"request", name}}; });
}

/// What is told within the request is a summary, unless that is asked for.
CLI::App& BusRequests::telling(CLI::App& command)
{
    command.add_flag("--json", m_options->json, "what is told comes as on the bus");
    return command;
}

void BusRequests::addBuiltInTests()
{
    telling(addPlain("bit-run", "ask for a built-in test"));
    constexpr const char* kRows[][3] = {
        {"bit-results", "ask for results of tests; of all without an id", "bit-results 0 1"},
        {"bit-clear", "have results of tests forgotten; of all without an id", "bit-clear 0"}};
    for (const auto& [request, what, example] : kRows) {
        CLI::App& command = add(request, what, example, [name = std::string(request)](const Options& o) {
            Json body = {{"request", name}};
            if (!o.ids.empty()) body["ids"] = o.ids;
            if (!o.idCount.empty()) body["count"] = numberOrText(o.idCount);
            return body;
        });
        telling(command).add_option("ID", m_options->ids, "of tests")->type_name("");
        command.add_option("--count", m_options->idCount, "told instead of the number of ids")->type_name("N");
    }
}

void BusRequests::addForTests()
{
    CLI::App& print = add("print", "print a text from within the library", "print 'a line' --stream stderr",
                          [](const Options& o) -> Json {
                              return {{"request", "print"}, {"text", o.text}, {"stream", o.stream}};
                          });
    print.add_option("TEXT", m_options->text)->required()->type_name("");
    print.add_option("--stream", m_options->stream, "stdout, stderr, cout or cerr")->type_name("STREAM");

    CLI::App& hold = add("hold-tell", "let each tell of a name take its time", "hold-tell navwar-sa 200",
                         [](const Options& o) -> Json {
                             return {{"request", "hold-tell"}, {"tell", o.name}, {"milliseconds", o.milliseconds}};
                         });
    hold.add_option("TELL", m_options->name)->required()->type_name("");
    hold.add_option("MILLISECONDS", m_options->milliseconds)->required()->type_name("");
    add("release-tell", "let a tell go, or all", "release-tell navwar-sa",
        [](const Options& o) {
            Json body = {{"request", "release-tell"}};
            if (!o.name.empty()) body["tell"] = o.name;
            return body;
        })
        .add_option("TELL", m_options->name)
        ->type_name("");

    CLI::App& holdDelete = add("hold-delete", "let each deletion of a service take its time", "hold-delete 200",
                               [](const Options& o) -> Json {
                                   return {{"request", "hold-delete"}, {"milliseconds", o.milliseconds}};
                               });
    holdDelete.add_option("MILLISECONDS", m_options->milliseconds)->required()->type_name("");

    CLI::App& misbehave = add("misbehave", "have call-backs made as they should not be",
                              "misbehave clear-data --times 4 --without-context", [](const Options& o) -> Json {
                                  return {{"request", "misbehave"},       {"call", o.name},        {"times", o.times},
                                          {"context", !o.withoutContext}, {"count", o.countOfIds}, {"when", o.when}};
                              });
    misbehave.add_option("CALL", m_options->name, "as the request that makes it")->required()->type_name("");
    misbehave.add_option("--times", m_options->times, "beside each other")->type_name("N");
    misbehave.add_flag("--without-context", m_options->withoutContext, "with a null context");
    misbehave.add_option("--count", m_options->countOfIds, "of ids that are asked for")->type_name("N");
    misbehave.add_option("--when", m_options->when, "now, deletion or restart")->type_name("WHEN");
}

BusRequests::Json busRequestOf(std::vector<std::string> words, const std::filesystem::path& folder)
{
    CLI::App bus("", "request");
    bus.require_subcommand(1);
    const BusRequests requests(bus, folder);
    std::ranges::reverse(words);  // as the library takes them
    try {
        bus.parse(std::move(words));
        return requests.parsed();
    } catch (const CLI::CallForHelp&) {
        throw std::invalid_argument("orvanectl bus has the help");
    } catch (const CLI::ParseError& error) {
        const std::string what = unknownWord(bus);
        throw std::invalid_argument(what.empty() ? error.what() : what);
    } catch (const std::runtime_error& error) {
        throw std::invalid_argument(error.what());
    }
}

}  // namespace orvanectl
