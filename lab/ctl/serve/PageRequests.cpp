#include "lab/ctl/serve/PageRequests.h"

#include <algorithm>
#include <exception>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace orvanectl {

namespace {

using Json = PageRequests::Json;
using Clock = std::chrono::steady_clock;

constexpr PageRequest kRequests[] = {
    {"status", "Status", R"({"request":"status"})", nullptr},
    {"faults", "Faults", R"({"request":"faults"})", nullptr},
    {"system-configuration", "Part numbers", R"({"request":"system-configuration"})", nullptr},
    {"bit-run", "Run built-in test", R"({"request":"bit-run"})", nullptr},
    {"bit-results", "Test results", R"({"request":"bit-results"})", nullptr},
    {"bit-clear", "Forget test results", R"({"request":"bit-clear"})",
     "The service forgets the results of all built-in tests. They can't be had back; a new test makes new ones."},
    {"clear-data-crypto", "Clear crypto data", R"({"request":"clear-data","data":"crypto"})",
     "The unit erases its crypto data: the service commands it, and the unit carries it out. They can't be had back."},
    {"clear-data-all", "Clear all data", R"({"request":"clear-data","data":"all"})",
     "The unit erases all of its data: the service commands it, and the unit carries it out. They can't be had back."},
};

Json failed(const std::string& what)
{
    return {{"ok", false}, {"error", what}};
}

const PageRequest* find(const std::string& name)
{
    const auto found =
        std::ranges::find_if(kRequests, [&](const PageRequest& request) { return request.name == name; });
    return found == std::end(kRequests) ? nullptr : &*found;
}

bool isText(const Json& line, const char* key, std::string_view text)
{
    if (!line.is_object()) return false;
    const auto found = line.find(key);
    return found != line.end() && found->is_string() && found->get_ref<const std::string&>() == text;
}

/// One of those under way, from construction to destruction.
class Turn {
public:
    explicit Turn(std::atomic<int>& underWay) : m_underWay(underWay), m_number(++underWay) {}
    ~Turn() { --m_underWay; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    int number() const { return m_number; }

private:
    std::atomic<int>& m_underWay;
    int m_number;
};

}  // namespace

std::span<const PageRequest> PageRequests::all()
{
    return kRequests;
}

Json PageRequests::list()
{
    Json rows = Json::array();
    for (const PageRequest& request : kRequests)
        rows.push_back({{"name", request.name}, {"label", request.label}, {"erases", request.warns != nullptr}});
    return rows;
}

Json PageRequests::confirmation(const std::string& name)
{
    const PageRequest* const request = find(name);
    if (request == nullptr) return failed("there is no such request");
    if (request->warns == nullptr) return failed("this needs no confirmation");
    return {{"ok", true}, {"warns", request->warns}, {"confirmation", m_confirmations.ask(name, Clock::now())}};
}

Json PageRequests::make(const std::string& name, const std::string& confirmation)
{
    const PageRequest* const request = find(name);
    if (request == nullptr) return failed("there is no such request");
    if (m_socket.empty()) return failed("no bus is given: orvanectl serve --socket PATH");
    const Turn turn(m_underWay);
    if (turn.number() > kMostAtOnce) return failed("too many requests are under way");
    // Last: it is used up by it.
    if (request->warns != nullptr && !m_confirmations.take(name, confirmation, Clock::now()))
        return failed("this has to be confirmed first, within a minute");
    try {
        return ask(*request);
    } catch (const std::exception& error) {
        return failed(error.what());
    }
}

Json PageRequests::ask(const PageRequest& request)
{
    BusLink bus(m_socket);
    Json body = Json::parse(request.body);
    const std::string id = "page-" + std::to_string(::getpid()) + '-' + std::to_string(++m_number);
    body["id"] = id;
    bus.send(body);
    for (const auto end = Clock::now() + m_deadline; Clock::now() < end && !m_hasEnded;) {
        while (const auto text = bus.arrivedLine()) {
            Json line = Json::parse(*text, nullptr, false);
            const bool isAnswer = isText(line, "type", "answer") && isText(line, "id", id);
            if (!isAnswer && !isText(line, "type", "error")) continue;
            line.erase("id");  // which is for this side alone
            const auto ok = line.find("ok");
            return {{"ok", ok != line.end() && ok->is_boolean() && ok->get<bool>()}, {"text", busSummary(line)}};
        }
        if (bus.isClosed()) return failed("the bus has closed without an answer");
        pollfd waiting = {bus.descriptor(), POLLIN, 0};
        ::poll(&waiting, 1, 100);
    }
    return failed(m_hasEnded ? "orvanectl serve is ending" : "no answer came in time");
}

}  // namespace orvanectl
