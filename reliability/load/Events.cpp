#include "ASPN/AspnDeviceIds.h"
#include "ASPN/HealthReporter.h"
#include "aspn2_msgs/EventLog.h"
#include "reliability/Statistics.h"
#include "reliability/load/Scenes.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t kThreads = 4;
constexpr std::size_t kEventsOfEach = 250'000;
constexpr double kPublishedRate = 10.0;  // Hz
constexpr double kLongestHold = 1.0;     // ms

/// Sends events as fast as it can.
/// @return how long each call has held the caller, in milliseconds
std::vector<double> sendMany(HealthReporter& reporter, std::size_t thread)
{
    std::vector<double> holds;
    holds.reserve(kEventsOfEach);
    const std::string text = "from thread " + std::to_string(thread);
    for (std::size_t i = 0; i < kEventsOfEach; ++i) {
        const auto type = static_cast<std::int32_t>(i % 6);  // faults go on record besides
        const auto begin = Clock::now();
        reporter.SendEvent("load.cpp", static_cast<int>(thread), type, text.c_str());
        holds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    return holds;
}

/// Sequence numbers of the records that a listener has printed.
std::vector<std::int64_t> numbersIn(const std::string& printed)
{
    std::vector<std::int64_t> numbers;
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);) {
        const auto record = nlohmann::json::parse(line);
        if (record.value("kind", "") == "record")
            numbers.push_back(record.at("header").at("seq_num").get<std::int64_t>());
    }
    return numbers;
}

}  // namespace

void Scenes::events(Report& report, bool isShort)
{
    const TemporaryDirectory directory;
    TransportConfig config;
    config.connect("EventLog", "EventLog");
    const std::string file = directory.write("connections.xml", config.text());
    const Transport transport(file, "events");
    const auto front = transport.typed<aspn2_msgs::idl::EventLog>();
    const long long id = transport.connect("EventLog");
    auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    front->Register_Sender(id, code);

    ChildProcess listener({ORVANE_CTL_BINARY, "echo", "EventLog", "--json", "--backfill", "--connections", file});
    if (!report.expect(transport.waitForSubscribers(id), "nobody listens to the events")) return;
    FaultHysteresis faults;
    HealthReporter reporter(faults);
    reporter.InitHealthReporter("load", ASPN2::DeviceIdFactory(3, 52), front, id);

    const auto begin = Clock::now();
    std::array<std::vector<double>, kThreads> holds;
    {
        std::vector<std::jthread> threads;
        for (std::size_t thread = 0; thread < kThreads; ++thread)
            threads.emplace_back([&, thread] { holds[thread] = sendMany(reporter, thread); });
    }
    const Seconds sending = Clock::now() - begin;

    // It keeps on for as long as a rate takes to be seen.
    const auto end = begin + std::chrono::duration_cast<Clock::duration>(isShort ? Seconds(4) : Seconds(60));
    std::size_t more = 0;
    while (Clock::now() < end) {
        reporter.SendEvent("load.cpp", 1, EventTypes::EVENT_STATUS, "more");
        ++more;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const Seconds time = Clock::now() - begin;
    reporter.DoneHealthReporter();  // publishes what waits
    const double drain = HealthReporter::kEventQueueLimit;

    const auto received = [&] { return static_cast<std::size_t>(std::ranges::count(listener.output(), '\n')); };
    for (std::size_t seen = 0; seen != received();) {
        seen = received();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    listener.send(SIGINT);
    listener.wait();
    const auto numbers = numbersIn(listener.output());

    std::vector<double> all;
    for (const auto& some : holds) all.insert(all.end(), some.begin(), some.end());
    const std::size_t sent = all.size() + more;
    const double leaving = static_cast<double>(numbers.size()) - drain;
    report.figure("events, from four threads", static_cast<double>(all.size()));
    report.figure("events, a second while they send", static_cast<double>(all.size()) / sending.count(), "Hz");
    Statistics::tell(report, "events, hold of a caller", std::move(all), "ms", Goal{Goal::AtMost, kLongestHold});
    report.figure("events, published", static_cast<double>(numbers.size()));
    report.figure("events, dropped", static_cast<double>(sent - numbers.size()));
    report.figure("events, published a second", leaving / time.count(), "Hz", {Goal::AtLeast, 0.9 * kPublishedRate});
    report.expect(leaving / time.count() <= kPublishedRate + 0.5, "more than ten events a second have left");
    bool isWhole = !numbers.empty();
    for (std::size_t i = 0; i < numbers.size(); ++i) isWhole = isWhole && numbers[i] == static_cast<std::int64_t>(i);
    report.expect(isWhole, "events that were published have not all arrived, in order and once");
}
