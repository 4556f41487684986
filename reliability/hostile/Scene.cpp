#include "reliability/hostile/Scene.h"

#include "tests/support/TemporaryDirectory.h"

#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using Ending = ChildProcess::Ending;

namespace {

constexpr const char* kConfiguration = "/opt/halvex/config";

}  // namespace

KeptConfiguration::KeptConfiguration()
{
    for (const auto& entry : fs::directory_iterator(kConfiguration))
        if (entry.is_regular_file()) m_files[entry.path()] = readFile(entry.path());
}

KeptConfiguration::~KeptConfiguration()
{
    for (const auto& [path, text] : m_files) std::ofstream(path) << text;
    fs::remove("/tmp/PostComplete");
}

Traffic::Traffic(Inputs& inputs)
{
    const auto at = [](auto& record) { validAt(record, kSeconds); };
    at(inputs.pva), at(inputs.utcTime), at(inputs.pnt), at(inputs.mis), at(inputs.assurance), at(inputs.receiver);
    m_sender = std::jthread([&inputs](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            try {
                inputs.sendAll();
            } catch (const std::exception&) {
                // The transport was full, or the queue: the next ones come.
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    });
    m_listener = std::jthread([this](const std::stop_token& stop) {
        try {
            Bus bus;
            while (!stop.stop_requested()) {
                const auto tell =
                    bus.awaitTell("blended-navigation", [](const Bus::Json& one) { return !one.value("last", false); });
                ++m_tells;
                m_joins += !tell.at("timeOfValidity").is_null();
            }
        } catch (const std::exception&) {
            // The bus has ended: no more joins.
        }
    });
}

bool Traffic::awaitJoin(std::chrono::seconds within) const
{
    const auto before = joins();
    return eventually([&] { return joins() > before; }, within);
}

double Traffic::rateOfNext(std::uint64_t count) const
{
    if (!awaitJoin()) return 0;  // the time counts from one
    const auto before = joins();
    const auto start = std::chrono::steady_clock::now();
    if (!eventually([&] { return joins() >= before + count; }, std::chrono::seconds(30))) return 0;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return static_cast<double>(count) / passed.count();
}

void Scene::expectEndInOrder(const std::string& where)
{
    const auto start = std::chrono::steady_clock::now();
    m_desk.service().send(SIGTERM);
    try {
        const Ending ending = m_desk.service().wait();
        m_report.expect(ending == Ending{0, 0}, where + ": SIGTERM did not end the service in order: status " +
                                                    std::to_string(ending.status) + ", signal " +
                                                    std::to_string(ending.signal));
    } catch (const std::exception& error) {
        m_report.broken(where + ": after SIGTERM " + error.what());
    }
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    m_report.figure(where + ": time to the end", passed.count(), "s");
}

double Scene::resident()
{
    std::ifstream status("/proc/" + std::to_string(m_desk.service().id()) + "/status");
    for (std::string word; status >> word;)
        if (double kibibytes = 0; word == "VmRSS:" && status >> kibibytes) return kibibytes * 1024;
    return 0;
}
