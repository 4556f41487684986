#include "reliability/DatagramCounts.h"
#include "reliability/PingPeer.h"
#include "reliability/ProcessWatch.h"
#include "reliability/Statistics.h"
#include "reliability/load/Ending.h"
#include "reliability/load/Scenes.h"

#include "aspn2_msgs/BitReport.h"

#include <chrono>
#include <cmath>
#include <exception>
#include <functional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace aspn2_msgs::idl;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double kRate = 10'000;  // Hz
constexpr std::chrono::milliseconds kBetweenPings{20};
constexpr std::chrono::seconds kAnswerWithin{5};
constexpr const char* kConnections = "/opt/halvex/config/Connections.xml";

/// A record that makes a handler work as much as it does at its usual rate.
template <class T>
T sample()
{
    T record;
    record.header().device_id(deviceId(96));
    validAt(record, 1);
    return record;
}

template <>
CommandResponse sample()
{
    CommandResponse record;
    record.header().device_id(deviceId(53, 2));
    record.command_response("REQUEST_SOMETHING");
    return record;
}

template <>
BitReport sample()
{
    BitReport record;
    record.header().device_id(deviceId(32) | 1);
    for (int i = 0; i < 10; ++i) record.bit_components().emplace_back();
    return record;
}

/// Publishes a record at the rate until it is asked to end.
/// @return how many
template <class T>
std::size_t write(const Transport& transport, const std::string& topic, const std::stop_token& stop)
{
    const Publisher<T> publisher(transport, topic);
    // The pinging peer hears responses too.
    if (!publisher.waitForSubscriber(topic == "Response" ? 2 : 1))
        throw std::runtime_error("the service does not hear " + topic);
    const T record = sample<T>();
    const auto begin = Clock::now();
    std::size_t count = 0;
    while (!stop.stop_requested()) {
        // All that is due by now: a sleep takes longer than the tenth of a millisecond between two.
        const auto due = static_cast<std::size_t>(Seconds(Clock::now() - begin).count() * kRate);
        for (; count < due && !stop.stop_requested(); ++count) publisher.send(record);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return count;
}

using Write = std::function<std::size_t(const Transport&, const std::string&, const std::stop_token&)>;
const std::vector<std::pair<std::string, Write>> kWriters = {
    {"BitReport", write<BitReport>},
    {"Command", write<CommandResponse>},
    {"Response", write<CommandResponse>},
    {"PositionVelocityAttitude", write<PositionVelocityAttitude>},
    {"UTCTime", write<UTCTime>},
    {"HalvexPNT", write<HalvexPNT>},
    {"MeasurementIncorporationStatus", write<MeasurementIncorporationStatus>},
    {"AssuranceState", write<AssuranceState>}};

/// Pings for a time, each a while after the one before was answered.
/// @return milliseconds of each; one that was not answered counts as the deadline
std::vector<double> pings(PingPeer& peer, Seconds time)
{
    std::vector<double> trips;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
    while (Clock::now() < end) {
        const auto trip = peer.roundTrip(kAnswerWithin);
        trips.push_back(trip.value_or(std::chrono::duration<double, std::milli>(kAnswerWithin).count()));
        std::this_thread::sleep_for(kBetweenPings);
    }
    return trips;
}

}  // namespace

void Scenes::topics(Report& report, bool isShort)
{
    const Seconds time = isShort ? Seconds(0.4) : Seconds(20);
    Desk desk;
    const Transport transport(kConnections, "writer"), pinging(kConnections, "pinging");
    PingPeer peer(pinging);
    desk.run();
    if (!report.expect(peer.waitForService(), "the service is not found")) return;
    ProcessWatch watch(desk.service().id());
    Statistics::tell(report, "topics, ping while nothing is written", pings(peer, time), "ms");
    for (const auto& [topic, writer] : kWriters) {
        std::size_t written = 0;
        std::exception_ptr failure;
        std::jthread thread([&, &name = topic, &write = writer](const std::stop_token& stop) {
            try {
                written = write(transport, name, stop);
            } catch (...) {
                failure = std::current_exception();
            }
        });
        const auto before = DatagramCounts::now();
        const auto begin = Clock::now();
        auto trips = pings(peer, time);
        thread.request_stop();
        thread.join();
        if (failure) std::rethrow_exception(failure);
        const double rate = static_cast<double>(written) / Seconds(Clock::now() - begin).count();
        report.figure(topic + ", written", rate, "Hz", {Goal::AtLeast, 0.9 * kRate});
        // A receiving thread that is held lets its socket fill up.
        const auto after = DatagramCounts::now();
        report.figure(topic + ", datagrams taken", static_cast<double>(after.received - before.received));
        report.figure(topic + ", datagrams dropped", static_cast<double>(after.dropped - before.dropped), "",
                      {Goal::AtMost, 0});
        Statistics::tell(report, topic + ", ping meanwhile", std::move(trips), "ms");
    }
    watch.tell(report, "topics");
    report.expect(peer.roundTrip(kAnswerWithin).has_value(), "the service hears no command after a flood");
    endInOrder(report, desk.service(), "writers at 10 kHz");
}
