#include "reliability/ProcessWatch.h"
#include "reliability/Statistics.h"
#include "reliability/load/BusWatch.h"
#include "reliability/load/Ending.h"
#include "reliability/load/Navigator.h"
#include "reliability/load/Scenes.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr std::size_t kReaders = 10;  // and one that asks
constexpr std::size_t kSilent = 5;
/// Beyond what the bus, 4096 lines, and the socket keep for a client that doesn't read.
constexpr std::size_t kMostKept = 7000;
/// So that those who read can keep up, on a slow machine too.
constexpr std::chrono::milliseconds kBetweenRequests{2};

}  // namespace

void Scenes::clients(Report& report, bool isShort)
{
    const std::string what = "16 clients";
    const Seconds time = isShort ? Seconds(2) : Seconds(120);
    Desk desk;
    Navigator navigator(desk);
    desk.completeSelfTest();  // from then on the bus has built-in tests
    desk.run();
    if (!navigator.waitForService()) throw std::runtime_error("the service is not found");

    std::vector<std::unique_ptr<Bus>> silent;
    for (std::size_t i = 0; i < kSilent; ++i) silent.push_back(std::make_unique<Bus>());
    std::vector<std::unique_ptr<BusWatch>> readers;
    for (std::size_t i = 0; i < kReaders; ++i) readers.push_back(std::make_unique<BusWatch>());
    Bus asking;
    const auto clear = [&] {
        return asking.request({{"request", "bit-clear"}, {"ids", {"0"}}, {"count", 1}}).at("ok") == true;
    };
    if (!report.expect(eventually(clear), what + ": the bus has no built-in tests")) return;

    // A publication for each request, and so more lines than the bus keeps for who doesn't read.
    ProcessWatch watch(desk.service().id());
    std::size_t requests = 0;
    std::exception_ptr failure;
    std::jthread flood([&] {
        try {
            navigator.flood(100.0, time);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::milliseconds>(time);
    std::vector<double> answers;
    while (std::chrono::steady_clock::now() < end || (!isShort && requests < kMostKept)) {
        const auto asked = std::chrono::steady_clock::now();
        const bool isDone = clear();
        answers.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - asked).count());
        if (!report.expect(isDone, what + ": a request was refused")) break;
        ++requests;
        std::this_thread::sleep_for(kBetweenRequests);
    }
    flood.join();
    if (failure) std::rethrow_exception(failure);
    watch.tell(report, what);

    report.figure(what + ", requests", static_cast<double>(requests));
    Statistics::tell(report, what + ", request to answer", std::move(answers), "ms");
    std::vector<std::size_t> counts;
    for (const auto& reader : readers) reader->askToEnd();
    for (const auto& reader : readers) {
        reader->end();
        counts.push_back(reader->count());
    }
    report.figure(what + ", records told each reader", static_cast<double>(counts.front()), "",
                  {Goal::AtLeast, 0.95 * 4.0 * time.count() - 1.0});
    for (const std::size_t count : counts)
        report.expect(count + 1 >= counts.front() && count <= counts.front() + 1,
                      what + ": a reader has missed records");
    const auto findings = Joins::judge(readers.front()->told(), navigator.sent(), Navigator::blockEpochs(100.0));
    report.expect(findings.usedTwice + findings.neverSent == 0, what + ": a record is wrong");
    Statistics::tell(report, what + ", last input to tell", findings.latency, "ms");

    double missed = 0.0;
    for (const auto& client : silent) {
        if (isShort) break;  // the bus keeps all that was told
        const auto line =
            client->await("dropped lines", [](const Bus::Json& each) { return each.value("type", "") == "dropped"; });
        missed += line.at("lines").get<double>();
    }
    if (missed > 0.0)
        report.figure(what + ", lines that each of five silent ones has missed", missed / static_cast<double>(kSilent));
    silent.clear();
    endInOrder(report, desk.service(), what);
}
