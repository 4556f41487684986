#include "reliability/races/LoadedService.h"

#include "tests/support/ChildProcess.h"

#include <csignal>
#include <exception>
#include <fstream>

using Json = Bus::Json;
using namespace std::chrono_literals;

namespace {

constexpr const char* kKeys = "/tmp/keys";
constexpr const char* kVclFile = "/opt/halvex/config/APNT_VCL_1_9.xml";

/// Navigation and threats are told twenty times a second.
constexpr const char* kVcl = R"(<vcl:VCL xmlns:vcl="urn:orvane:lab:vcl" version="1.9">
  <vcl:DataItem type="ASSURED_PNT_BLENDED_NAVIGATION">
    <vcl:ConfigItem name="updatePeriod" value="50"/>
  </vcl:DataItem>
  <vcl:DataItem type="ASSURED_PNT_NAVWAR_SA">
    <vcl:ConfigItem name="updatePeriod" value="50"/>
  </vcl:DataItem>
</vcl:VCL>
)";

/// The unit, with inputs, threats and warnings far above their rates, and part numbers from the third second on.
std::vector<std::string> unitLine(const LoadedService::Load& load, std::chrono::seconds length)
{
    std::vector<std::string> line = {ORVANE_UNIT_SIM,   "--quiet", "--rate",        "40", "--threat-rate", "20",
                                     "--warn-rate",     "20",      "--post-after",  "3",  "--gps-lost",    "4:6",
                                     "--erase-seconds", "0.5",     "--bit-seconds", "0.3"};
    line.insert(line.end(), load.unit.begin(), load.unit.end());
    if (load.orders.empty()) return line;
    // From when the service is sure to listen.
    for (std::chrono::milliseconds at = 3s; at < length + 20s; at += load.ordersEvery) {
        line.emplace_back("--command");
        line.push_back(load.orders + "@" + std::to_string(at.count() / 1000) + "." +
                       std::to_string(1000 + at.count() % 1000).substr(1));
    }
    return line;
}

}  // namespace

LoadedService::LoadedService(const Load& load, const std::vector<std::string>& environment)
    : m_load(load), m_environment(environment)
{
    m_desk.set("PARAM_8", "12,2");
    m_desk.set("PARAM_9", "2");
    if (load.hasTester) {
        std::string keys = "a";
        for (int i = 0; i < 1000; ++i) keys += "1234567890";
        std::ofstream(kKeys) << keys;
        m_desk.set("PARAM_2", "true");
        m_desk.setInput(kKeys);
    }
    std::ofstream(kVclFile) << kVcl;
}

void LoadedService::ask(const std::string& what, const std::function<Json(int)>& request)
{
    m_clients.emplace_back([this, what, request] {
        try {
            Bus bus;
            for (int turn = 0;; ++turn) {
                bus.request(request(turn));
                ++m_answers;
            }
        } catch (const std::exception& error) {
            if (m_isEnding) return;  // the bus has ended with the service
            const std::lock_guard lock(m_mutex);
            m_trouble = what + ": " + error.what();
        }
    });
}

void LoadedService::comeAndGo()
{
    try {
        while (!m_isEnding) Bus().request({{"request", "last"}});
    } catch (const std::exception& error) {
        const std::lock_guard lock(m_mutex);
        m_trouble = std::string("coming and going: ") + error.what();
    }
}

/// The end of the service and its bus, which ends the clients.
ChildProcess::Ending LoadedService::end(ChildProcess& service, int signal)
{
    m_isEnding = true;
    if (m_guest.joinable()) m_guest.join();
    service.send(signal);
    const ChildProcess::Ending ending = service.wait();
    m_clients.clear();
    return ending;
}

LoadedService::Outcome LoadedService::live(std::chrono::seconds length)
{
    ChildProcess unit(unitLine(m_load, length));
    ChildProcess& service = m_desk.start(m_environment);
    Outcome outcome;
    if (!service.waitUntilHandled(SIGINT)) {
        outcome.trouble = "it does not run: " + service.errors();
        return outcome;
    }
    try {
        play(length, outcome);
    } catch (...) {
        end(service, SIGKILL);  // no thread may be left that goes on
        throw;
    }
    const ChildProcess::Ending ending = end(service, SIGTERM);
    unit.send(SIGTERM);
    unit.wait();

    outcome.status = ending.status;
    outcome.signal = ending.signal;
    outcome.answers = m_answers;
    outcome.errors = service.errors();
    outcome.trouble = m_trouble;
    return outcome;
}

/// Ends while clients ask.
void LoadedService::play(std::chrono::seconds length, Outcome& outcome)
{
    Bus listener;
    if (m_load.holdDeletionMs > 0)
        listener.request({{"request", "hold-delete"}, {"milliseconds", m_load.holdDeletionMs}});

    ask("clear-data", [](int turn) { return Json{{"request", "clear-data"}, {"data", turn % 2 ? "all" : "crypto"}}; });
    ask("configuration", [](int) { return Json{{"request", "system-configuration"}}; });
    ask("bit-run", [](int turn) {
        if (turn % 40 == 39) return Json{{"request", "bit-clear"}};
        return turn % 2 ? Json{{"request", "bit-results"}} : Json{{"request", "bit-run"}};
    });
    ask("bit-clear", [](int turn) { return Json{{"request", "bit-clear"}, {"ids", {std::to_string(turn % 50)}}}; });
    ask("save-vcl", [](int) { return Json{{"request", "save-vcl"}, {"text", kVcl}}; });
    ask("print", [](int turn) {
        constexpr const char* kStreams[] = {"stdout", "stderr", "cout", "cerr"};
        return Json{{"request", "print"}, {"text", "a line of the library"}, {"stream", kStreams[turn % 4]}};
    });
    m_guest = std::jthread([this] { comeAndGo(); });

    const auto end = std::chrono::steady_clock::now() + length;
    while (std::chrono::steady_clock::now() < end) {
        listener.await("warnings", [&](const Json& line) {
            if (line.value("type", "") == "service" && line.value("event", "") == "deleted") ++outcome.restarts;
            return line.value("tell", "") == "warning-messages";
        });
    }
    for (const char* name : {"blended-navigation", "navwar-sa", "warning-messages"})
        outcome.tells += listener.tells(name);
}
