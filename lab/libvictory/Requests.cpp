#include "lab/libvictory/Requests.h"

#include "lab/libvictory/Library.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <vector>

namespace labvictory {

namespace {

constexpr std::size_t kLongestId = 100;
constexpr std::size_t kLongestMessage = 200;

struct BadRequest : std::runtime_error {
    using runtime_error::runtime_error;
};

std::string cut(std::string text)
{
    if (text.size() > kLongestMessage) text.replace(kLongestMessage, std::string::npos, "...");
    return text;
}

/// A request as it came, and the way back to its client. Copies go to other threads.
struct Request {
    Library* victory;
    Bus::ClientId client;
    Json tag;  // what names it: its name, and its id if it has one
    Json body;

    void succeed(const Json& members = Json::object()) const { answer({{"ok", true}}, members); }
    void fail(const std::string& what) const { answer({{"ok", false}}, {{"error", cut(what)}}); }

    bool has(const char* key) const { return body.contains(key) && !body[key].is_null(); }

    std::string text(const char* key) const
    {
        if (!has(key) || !body[key].is_string()) throw BadRequest(std::string(key) + " must be a text");
        return body[key].get<std::string>();
    }

    bool flag(const char* key, bool otherwise) const
    {
        if (!has(key)) return otherwise;
        if (!body[key].is_boolean()) throw BadRequest(std::string(key) + " must be true or false");
        return body[key].get<bool>();
    }

    std::int32_t number(const char* key, std::int32_t lowest = std::numeric_limits<std::int32_t>::min(),
                        std::int32_t highest = std::numeric_limits<std::int32_t>::max()) const
    {
        const bool isSmall = has(key) && body[key].is_number_integer() &&
                             !(body[key].is_number_unsigned() && body[key].get<std::uint64_t>() > 0xFFFFFFFFU);
        const std::int64_t value = isSmall ? body[key].get<std::int64_t>() : std::int64_t{lowest} - 1;
        if (value < lowest || value > highest)
            throw BadRequest(std::string(key) + " must be a whole number from " + std::to_string(lowest) + " to " +
                             std::to_string(highest));
        return static_cast<std::int32_t>(value);
    }

private:
    void answer(const Json& result, const Json& members) const
    {
        Json line = {{"type", "answer"}};
        line.update(tag);
        line.update(result);
        line.update(members);
        victory->send(client, line);
    }
};

/// Runs on a thread of the service that was made last.
void post(const Request& request, std::function<void(Service&)> work)
{
    const auto service = request.victory->newest();
    if (!service) throw BadRequest("there is no service");
    Service& target = *service;  // it outlives what is posted to it
    const auto run = [request, work = std::move(work), &target] {
        try {
            const RequestScope scope(request.tag);
            work(target);
        } catch (const std::exception& error) {
            request.fail(std::string("the call-back has thrown: ") + error.what());
        } catch (...) {
            request.fail("the call-back has thrown");
        }
    };
    switch (service->post({run, [request] { request.fail("the service has ended"); }})) {
    case Service::Accepted::Yes:
        return;
    case Service::Accepted::NotStarted:
        throw BadRequest("the service is not started");
    case Service::Accepted::TooMany:
        throw BadRequest("too many requests wait");
    }
}

/// Calls back on a thread of the service.
/// @param call  takes the call-back and the service's handle; calls, and answers
template <class Function, class Call>
void postCall(const Request& request, Callback<Function> Callbacks::*member, Call call)
{
    post(request, [request, member, call](Service& service) {
        const Callback<Function> callback = service.callbacks().*member;
        if (callback)
            call(callback, service.handle());
        else
            request.fail("the service has set no call-back for this");
    });
}

void clearData(const Request& request)
{
    std::optional<VapntcSystemData> data;
    if (request.has("data")) {
        const Json& value = request.body["data"];
        if (value == "all")
            data = VAPNTC_SYSTEM_DATA_ALL;
        else if (value == "crypto")
            data = VAPNTC_SYSTEM_DATA_CRYPTO;
        else if (value == "invalid")
            data = VAPNTC_SYSTEM_DATA_INVALID;
        else if (value.is_string())
            throw BadRequest("data must be all, crypto, invalid, a number or null");
        else
            data = request.number("data");
    }
    postCall(request, &Callbacks::clearSystemData, [request, data](const auto& callback, VapntsService* service) {
        std::optional<VapntcSystemData> own = data;
        request.succeed({{"returned", callback.function(callback.context, service, own ? &*own : nullptr)}});
    });
}

void systemConfiguration(const Request& request)
{
    postCall(request, &Callbacks::systemConfiguration, [request](const auto& callback, VapntsService* service) {
        callback.function(callback.context, service);
        request.succeed();
    });
}

void runBuiltInTest(const Request& request)
{
    postCall(request, &Callbacks::executeBuiltInTests, [request](const auto& callback, VapntsService* service) {
        callback.function(callback.context, service);
        request.succeed();
    });
}

VapntcBitRequests requestsOf(const Request& request)
{
    VapntcBitRequests requests{};
    if (request.has("ids")) {
        const Json& ids = request.body["ids"];
        if (!ids.is_array() || ids.size() > VAPNTC_MAX_ROWS) throw BadRequest("ids must be a list of 50 texts at most");
        for (const Json& id : ids) {
            if (!id.is_string()) throw BadRequest("ids must be a list of texts");
            const auto& text = id.get_ref<const std::string&>();
            if (text.size() >= VAPNTC_TEXT_SIZE) throw BadRequest("an id has 255 characters at most");
            std::memcpy(requests.builtInTestIds[requests.requestCount++], text.data(), text.size());
        }
    }
    if (request.has("count")) requests.requestCount = request.number("count");
    return requests;
}

template <class Function>
void passRequests(const Request& request, Callback<Function> Callbacks::*member)
{
    const VapntcBitRequests requests = requestsOf(request);
    postCall(request, member, [request, requests](const auto& callback, VapntsService* service) {
        callback.function(callback.context, service, requests);
        request.succeed();
    });
}

void builtInTestResults(const Request& request)
{
    passRequests(request, &Callbacks::getBuiltInTestResults);
}

void clearBuiltInTests(const Request& request)
{
    passRequests(request, &Callbacks::clearBuiltInTestResults);
}

void saveVcl(const Request& request)
{
    const std::string text = request.text("text");
    if (text.find('\0') != std::string::npos) throw BadRequest("text has a zero within");
    postCall(request, &Callbacks::saveVclid, [request, text](const auto& callback, VapntsService* service) {
        request.succeed({{"returned", callback.function(callback.context, service, text.c_str())}});
    });
}

/// As the library would print an error: through C stdio, unless a C++ stream is asked for.
void print(const Request& request)
{
    const std::string stream = request.has("stream") ? request.text("stream") : "stdout";
    const std::string text = request.text("text") + (request.flag("newline", true) ? "\n" : "");
    constexpr const char* kStreams[] = {"stdout", "stderr", "cout", "cerr"};
    if (std::ranges::find(kStreams, stream) == std::end(kStreams))
        throw BadRequest("stream must be stdout, stderr, cout or cerr");

    post(request, [request, stream, text](Service&) {
        if (stream == "cout" || stream == "cerr") {
            (stream == "cout" ? std::cout : std::cerr) << text << std::flush;
        } else {
            std::FILE* const file = stream == "stdout" ? stdout : stderr;
            std::fwrite(text.data(), 1, text.size(), file);
            std::fflush(file);
        }
        request.succeed();
    });
}

std::string tellOf(const Request& request)
{
    std::string tell = request.text("tell");
    if (std::ranges::find(Tell::kAll, tell) == std::end(Tell::kAll)) throw BadRequest("there is no tell " + tell);
    return tell;
}

void hold(const Request& request, const std::string& what)
{
    constexpr auto kLongest = static_cast<std::int32_t>(TellHolds::kLongest.count());
    request.victory->holds().hold(what, std::chrono::milliseconds(request.number("milliseconds", 0, kLongest)));
    request.succeed();
}

void holdTell(const Request& request)
{
    hold(request, tellOf(request));
}

void holdDelete(const Request& request)
{
    hold(request, TellHolds::kDeletion);
}

void releaseTell(const Request& request)
{
    request.victory->holds().release(request.has("tell") ? tellOf(request) : "");
    request.succeed();
}

/// One call-back as the real library would not make it.
struct WrongCall {
    std::string name;
    bool withContext;
    std::int32_t count;  // of ids that a client asks for

    void operator()(const Callbacks& callbacks, VapntsService* service) const
    {
        const auto call = [&](const auto& callback, auto... arguments) {
            if (callback) callback.function(withContext ? callback.context : nullptr, service, arguments...);
        };
        VapntcBitRequests requests{};
        requests.requestCount = count;
        if (name == Tell::kNavWarSa) call(callbacks.groups[VAPNTS_PUB_GROUP_NAVWAR_SA]);
        if (name == Tell::kWarningMessages) call(callbacks.groups[VAPNTS_PUB_GROUP_WARNING_MESSAGES]);
        if (name == "save-vcl") call(callbacks.saveVclid, nullptr);
        if (name == "clear-data") call(callbacks.clearSystemData, nullptr);
        if (name == "system-configuration") call(callbacks.systemConfiguration);
        if (name == "bit-run") call(callbacks.executeBuiltInTests);
        if (name == "bit-results") call(callbacks.getBuiltInTestResults, requests);
        if (name == "bit-clear") call(callbacks.clearBuiltInTestResults, requests);
    }

    static constexpr std::string_view kNames[] = {
        "navwar-sa", "warning-messages", "save-vcl", "clear-data", "system-configuration",
        "bit-run",   "bit-results",      "bit-clear"};
};

/// Calls back beside itself, without a context, while the service is being deleted, or when it has been.
void misbehave(const Request& request)
{
    WrongCall call{request.text("call"), request.flag("context", true),
                   request.has("count") ? request.number("count") : 0};
    if (std::ranges::find(WrongCall::kNames, call.name) == std::end(WrongCall::kNames))
        throw BadRequest("there is no call-back " + call.name);
    const std::int32_t times = request.has("times") ? request.number("times", 1, Service::kMostStrayCalls) : 1;
    const std::string when = request.has("when") ? request.text("when") : "now";
    const auto service = request.victory->newest();
    if (!service) throw BadRequest("there is no service");

    const auto work = [call, callbacks = service->callbacks(), handle = service->handle()] { call(callbacks, handle); };
    const std::vector<std::function<void()>> calls(static_cast<std::size_t>(times), work);
    if (when == "deletion") {
        request.victory->atDeletion(calls);
    } else if (when == "restart") {
        request.victory->atRestart(calls);
    } else if (when == "now") {
        if (!service->callAstray(calls)) throw BadRequest("the service is not started");
    } else {
        throw BadRequest("when must be now, deletion or restart");
    }
    request.succeed();
}

std::string hexOf(const std::string& bytes)
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const char byte : bytes) {
        hex += kDigits[static_cast<unsigned char>(byte) >> 4];
        hex += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return hex;
}

void last(const Request& request)
{
    const std::string wanted = request.has("name") ? request.text("name") : "";
    const bool withRaw = request.flag("raw", false);
    Json publications = Json::array();
    if (const auto bus = request.victory->bus())
        for (const auto& [name, publication] : bus->last()) {
            if (!wanted.empty() && name != wanted) continue;
            Json line = Json::parse(publication.line);
            if (withRaw && !publication.raw.empty()) line["raw"] = hexOf(publication.raw);
            publications.push_back(std::move(line));
        }
    request.succeed({{"publications", publications}});
}

void faults(const Request& request)
{
    request.succeed({{"faults", request.victory->faults().list()}});
}

void status(const Request& request)
{
    const auto service = request.victory->newest();
    request.succeed(service ? service->state() : Json{{"service", nullptr}});
}

void help(const Request& request);

struct Row {
    const char* name;
    void (*work)(const Request&);
    const char* what;
    std::array<std::string_view, 5> keys = {};
};

constexpr Row kRows[] = {
    {"help", help, "this list"},
    {"status", status, "the service, and how often its groups have fallen due"},
    {"last", last, "the last publications, or that of a name; raw adds the record's bytes in hex", {"name", "raw"}},
    {"faults", faults, "the faults that are raised"},
    {"clear-data", clearData, "data: all, crypto, invalid or a number; null or nothing when not said", {"data"}},
    {"system-configuration", systemConfiguration, "asks for the system configuration"},
    {"bit-run", runBuiltInTest, "runs a built-in test"},
    {"bit-results",
     builtInTestResults,
     "asks for results of tests, or of all; count is told as it is",
     {"ids", "count"}},
    {"bit-clear", clearBuiltInTests, "has results forgotten; as bit-results", {"ids", "count"}},
    {"save-vcl", saveVcl, "has a VCL text saved", {"text"}},
    {"print", print, "prints a text to stdout, stderr (C), cout or cerr (C++)", {"text", "stream", "newline"}},
    {"hold-tell", holdTell, "lets each tell of a name take that long", {"tell", "milliseconds"}},
    {"release-tell", releaseTell, "lets it go, or all", {"tell"}},
    {"hold-delete", holdDelete, "lets each deletion of a service take that long", {"milliseconds"}},
    {"misbehave",
     misbehave,
     "calls back so many times beside itself, without the context, now, at the deletion or of a service that is gone",
     {"call", "times", "context", "count", "when"}},
};

void help(const Request& request)
{
    Json requests = Json::array();
    for (const Row& row : kRows) {
        Json keys = Json::array();
        for (const std::string_view key : row.keys)
            if (!key.empty()) keys.push_back(key);
        requests.push_back({{"request", row.name}, {"keys", keys}, {"what", row.what}});
    }
    request.succeed({{"requests", requests}, {"tells", Tell::kAll}});
}

Json parsed(std::string_view line)
{
    try {
        Json body = Json::parse(line);
        if (!body.is_object()) throw BadRequest("a request is an object");
        return body;
    } catch (const Json::exception& error) {
        throw BadRequest(std::string("not JSON: ") + error.what());
    }
}

Json tagOf(const Json& body)
{
    if (!body.contains("request") || !body["request"].is_string()) throw BadRequest("request must be a text");
    Json tag = {{"request", cut(body["request"].get<std::string>())}};
    if (!body.contains("id")) return tag;
    const Json& id = body["id"];
    const bool isShort = id.is_string() && id.get_ref<const std::string&>().size() <= kLongestId;
    if (!isShort && !id.is_number()) throw BadRequest("id must be a number or a text of 100 characters at most");
    tag["id"] = id;
    return tag;
}

void work(const Request& request)
{
    const auto row = std::ranges::find_if(kRows, [&](const Row& r) { return request.tag["request"] == r.name; });
    if (row == std::end(kRows)) throw BadRequest("there is no such request; ask for help");
    for (const auto& [key, value] : request.body.items())
        if (key != "request" && key != "id" && std::ranges::find(row->keys, key) == row->keys.end())
            throw BadRequest("there is no " + key + " in this request");
    row->work(request);
}

}  // namespace

void handleLine(Library& library, Bus::ClientId client, std::string_view line) noexcept
{
    try {
        Request request{&library, client, Json::object(), Json::object()};
        try {
            request.body = parsed(line);
            request.tag = tagOf(request.body);
        } catch (const BadRequest& error) {
            library.send(client, {{"type", "error"}, {"error", cut(error.what())}});
            return;
        }
        try {
            work(request);
        } catch (const BadRequest& error) {
            request.fail(error.what());
        }
    } catch (...) {
        // Out of memory: there is no answer.
    }
}

}  // namespace labvictory
