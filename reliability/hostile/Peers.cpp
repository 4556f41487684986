#include "aspn2_msgs/UTCTimePubSubTypes.h"
#include "reliability/DatagramCounts.h"
#include "reliability/hostile/JoinsDue.h"
#include "reliability/hostile/Payloads.h"
#include "reliability/hostile/RawPeer.h"
#include "reliability/hostile/Scene.h"
#include "tests/support/Topics.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <exception>
#include <list>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::uint8_t kWanted = 96;
constexpr const char* kTypes = "aspn2_msgs::idl::";

/// What the sample configuration says.
FACE::TSS::HX_TSS_Settings settings()
{
    return {.domainId = 0,
            .historyDepth = 10,
            .useBestEffort = false,
            .backFillHistory = false,
            .useTransport = "UDP",
            .tcpAddress = "127.0.0.1",
            .tcpPort = 7100};
}

/// The service hears these of the topics; on the others it speaks.
bool isHeardByService(const std::string& topic)
{
    return topic != "EventLog" && topic != "MaintenanceEvent";
}

/// Waits until the service hears a peer's publisher.
void awaitListener(const RawPeer& peer, std::size_t publisher, const std::string& topic)
{
    if (!peer.waitForListener(publisher)) throw std::runtime_error("the service does not hear " + topic);
}

/// What came meanwhile and what comes afterwards.
/// @param seen       joins a second
/// @param lasted     s
/// @param share      of the turns of the worker that find inputs that fit
/// @param seconds    that it was to last: of few turns chance may take some
void tellJoins(Report& report, const std::string& what, const Traffic& traffic, double seen, double lasted,
               double share, double seconds, bool isShort)
{
    const JoinsDue due = JoinsDue::of(Traffic::kMostASecond * seconds, share);
    report.figure(what + ": joins meanwhile", seen, "a second", {Goal::AtLeast, due.goal / seconds});
    report.expect(std::round(seen * lasted) >= due.promised, what + ": joins as good as stop meanwhile");
    const double afterwards = traffic.rateOfNext(isShort ? 3 : 20);
    report.figure(what + ": joins afterwards", afterwards, "a second",
                  {Goal::AtLeast, JoinsDue::kMostOf * Traffic::kMostASecond});
    report.expect(afterwards > 0, what + ": no joins came afterwards");
}

/// While something is done to the service: for a time, and for longer until a join has come, so that a machine which has
/// no time for two seconds is not taken for a service that joins no more.
class HarmTime {
public:
    HarmTime(const Traffic& traffic, bool isShort)
        : m_traffic(traffic), m_before(traffic.joins()), m_end(Clock::now() + std::chrono::seconds(isShort ? 2 : 30))
    {}

    bool isOver() const
    {
        const auto now = Clock::now();
        return now >= m_end && (m_traffic.joins() > m_before || now >= m_end + 30s);
    }

private:
    const Traffic& m_traffic;
    const std::uint64_t m_before;
    const Clock::time_point m_end;
};

/// What the network dropped, so that nobody got it at once.
void tellDropped(Report& report, const std::string& what, const DatagramCounts& before)
{
    const DatagramCounts after = DatagramCounts::now();
    report.figure(what + ": datagrams received", static_cast<double>(after.received - before.received));
    report.figure(what + ": datagrams dropped by the kernel", static_cast<double>(after.dropped - before.dropped));
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A service with its inputs and their joins.
struct JoiningScene {
    explicit JoiningScene(Report& report) : scene(report)
    {
        // Others may give anything: these sources are wanted.
        for (const char* const key : {"PARAM_3", "PARAM_4", "PARAM_6", "PARAM_7"})
            scene.desk().set(key, std::to_string(kWanted));
        inputs.emplace(scene.desk());
        scene.run();
        if (!inputs->waitForService()) throw std::runtime_error("the service was not found");
        traffic.emplace(*inputs);
        if (!traffic->awaitJoin()) throw std::runtime_error("no join came before");
    }

    Scene scene;
    std::optional<Inputs> inputs;
    std::optional<Traffic> traffic;
};

}  // namespace

/// The simulator of the unit is killed and started anew, over and over.
void killedPeers(Report& report, bool isShort)
{
    Scene scene(report);
    scene.run();
    double longest = 0;
    const int rounds = isShort ? 1 : 20;
    for (int round = 0; round < rounds; ++round) {
        ChildProcess unit({ORVANE_UNIT_SIM, "--rate", "10", "--no-registers", "--no-flags"});
        const auto start = Clock::now();
        try {
            Bus bus;
            const auto isNew = [](const Bus::Json& tell) {
                return !tell.value("last", false) && !tell.at("timeOfValidity").is_null();
            };
            for (int join = 0; join < 2; ++join) bus.awaitTell("blended-navigation", isNew);
            longest = std::max(longest, secondsSince(start));
        } catch (const std::exception& error) {
            report.broken("killed-peers: round " + std::to_string(round) + ": " + error.what());
        }
        unit.send(SIGKILL);
        unit.wait();
    }
    report.figure("killed-peers: kills of the peer", rounds);
    report.figure("killed-peers: longest time from a start of the peer to the second join", longest, "s",
                  {Goal::AtMost, 10});
    scene.expectEndInOrder("killed-peers");
}

/// On each topic a publisher of another type, and one of the right type's name whose payloads are of another.
void wrongTypes(Report& report, bool isShort)
{
    JoiningScene joining(report);
    RawPeer stranger(settings(), "stranger"), liar(settings(), "liar");
    std::uint32_t seed = 1;
    std::vector<std::size_t> strange, lying;
    std::vector<Payloads> other;
    for (std::size_t i = 0; i < kTopics.size(); ++i) {
        const auto& [topic, type] = kTopics[i];
        const std::string another = kTopics[(i + 3) % kTopics.size()].second;
        strange.push_back(stranger.add(topic, kTypes + another));
        lying.push_back(liar.add(topic, kTypes + type));
        other.emplace_back(another, seed++, deviceId(96), Traffic::kSeconds);
    }
    for (std::size_t i = 0; i < kTopics.size(); ++i)
        if (isHeardByService(kTopics[i].first)) awaitListener(liar, lying[i], kTopics[i].first);
    std::uint64_t unheard = 0, heard = 0;
    const DatagramCounts before = DatagramCounts::now();
    const auto rate = joining.traffic->rateWhile([&] {
        const HarmTime time(*joining.traffic, isShort);
        while (!time.isOver()) {
            for (std::size_t i = 0; i < kTopics.size(); ++i) {
                unheard += stranger.send(strange[i], other[i].extreme());
                (liar.isHeard(lying[i]) ? heard : unheard) += liar.send(lying[i], other[i].extreme());
            }
            std::this_thread::sleep_for(10ms);
        }
    });
    report.figure("wrong-types: payloads to publishers that the service hears", static_cast<double>(heard));
    report.figure("wrong-types: payloads to others", static_cast<double>(unheard));
    tellDropped(report, "wrong-types", before);
    for (std::size_t i = 0; i < kTopics.size(); ++i) {
        report.expect(!stranger.isHeard(strange[i]), "wrong-types: a type of another name is heard");
        if (isHeardByService(kTopics[i].first))
            report.expect(liar.waitUntilTaken(lying[i]), "wrong-types: not taken: " + kTopics[i].first);
    }
    tellJoins(report, "wrong-types", *joining.traffic, rate.joins, rate.seconds, 1.0, isShort ? 2.0 : 30.0, isShort);
    joining.scene.expectEndInOrder("wrong-types");
}

/// Fifty publishers more of one topic, all of which the service hears.
void duplicates(Report& report, bool isShort)
{
    constexpr std::size_t kPublishers = 50;
    JoiningScene joining(report);
    const double before = joining.scene.resident();
    RawPeer peer(settings(), "fifty");
    aspn2_msgs::idl::UTCTimePubSubType support;
    Payload payload;
    {
        auto time = joining.inputs->utcTime;
        eprosima::fastrtps::rtps::SerializedPayload_t bytes(support.getSerializedSizeProvider(&time)());
        support.serialize(&time, &bytes);
        payload.assign(bytes.data, bytes.data + bytes.length);
    }
    for (std::size_t i = 0; i < kPublishers; ++i) peer.add("UTCTime", std::string(kTypes) + "UTCTime");
    for (std::size_t i = 0; i < kPublishers; ++i) awaitListener(peer, i, "UTCTime");
    std::uint64_t sent = 0;
    const DatagramCounts counts = DatagramCounts::now();
    const auto rate = joining.traffic->rateWhile([&] {
        const HarmTime time(*joining.traffic, isShort);
        while (!time.isOver()) {
            for (std::size_t i = 0; i < kPublishers; ++i) sent += peer.send(i, payload);
            std::this_thread::sleep_for(10ms);
        }
    });
    report.figure("duplicates: publishers of one topic", kPublishers);
    report.figure("duplicates: samples", static_cast<double>(sent));
    tellDropped(report, "duplicates", counts);
    for (std::size_t i = 0; i < kPublishers; ++i)
        report.expect(peer.waitUntilTaken(i), "duplicates: what one publisher sent was not taken");
    report.figure("duplicates: growth of memory", (joining.scene.resident() - before) / 1e6, "MB", {Goal::AtMost, 30});
    tellJoins(report, "duplicates", *joining.traffic, rate.joins, rate.seconds, 1.0, isShort ? 2.0 : 30.0, isShort);
    joining.scene.expectEndInOrder("duplicates");
}

namespace {

/// The inputs among the topics, each with the seed of its payloads.
std::vector<PoisonedInput> poisonedInputs(std::uint32_t firstSeed)
{
    std::vector<PoisonedInput> inputs;
    for (const auto& [topic, type] : kTopics) {
        const std::uint32_t seed = firstSeed++;
        if (topic == "AssuranceState")
            inputs.push_back({type, seed, {}});
        else if (topic == "PositionVelocityAttitude" || topic == "UTCTime" || topic == "HalvexPNT" ||
                 topic == "MeasurementIncorporationStatus")
            inputs.push_back({type, seed, kWanted});
    }
    return inputs;
}

/// A thousand payloads a second on each topic that are no records, or records of no sense. They may be joined: where
/// its source is wanted, the newest input is taken as it comes.
/// @param source  server that the extreme ones name
void poisonFrom(Report& report, const std::string& what, std::uint8_t source, bool isShort)
{
    constexpr auto kPeriod = 1ms;
    JoiningScene joining(report);
    const double before = joining.scene.resident();
    std::list<RawPeer> peers;
    for (const auto& [topic, type] : kTopics)
        peers.emplace_back(settings(), "poisoner of " + topic).add(topic, kTypes + type);
    auto listened = kTopics.begin();
    for (const RawPeer& peer : peers) {
        if (isHeardByService(listened->first)) awaitListener(peer, 0, listened->first);
        ++listened;
    }

    std::atomic<std::uint64_t> heard = 0, unheard = 0, refused = 0;
    double seconds = 0;
    const DatagramCounts counts = DatagramCounts::now();
    const auto rate = joining.traffic->rateWhile([&] {
        std::vector<std::jthread> senders;
        const auto start = Clock::now();
        auto topic = kTopics.begin();
        std::uint32_t seed = source;
        for (RawPeer& peer : peers) {
            senders.emplace_back([&, type = topic->second, seed](const std::stop_token& stop) {
                Payloads payloads(type, seed, deviceId(source), Traffic::kSeconds);
                for (auto due = start; !stop.stop_requested(); due += kPeriod) {
                    std::this_thread::sleep_until(due);
                    const bool isHeard = peer.isHeard(0);
                    ++(!peer.send(0, payloads.next()) ? refused : isHeard ? heard : unheard);
                }
            });
            ++topic, ++seed;
        }
        std::this_thread::sleep_for(std::chrono::seconds(isShort ? 2 : 60));
        seconds = secondsSince(start);
    });
    const auto topics = static_cast<double>(
        std::ranges::count_if(kTopics, isHeardByService, [](const auto& one) { return one.first; }));
    report.figure(what + ": payloads to publishers that the service hears", static_cast<double>(heard));
    report.figure(what + ": payloads to others", static_cast<double>(unheard));
    report.figure(what + ": payloads on each topic that it hears", static_cast<double>(heard) / seconds / topics,
                  "a second", {Goal::AtLeast, 950});
    report.figure(what + ": not taken by the sender's transport", static_cast<double>(refused));
    tellDropped(report, what, counts);
    auto taken = kTopics.begin();
    for (const RawPeer& peer : peers) {
        if (isHeardByService(taken->first))
            report.expect(peer.waitUntilTaken(0), what + ": not taken: " + taken->first);
        ++taken;
    }
    const double share = shareThatFits(poisonedInputs(source), deviceId(source), Traffic::kSeconds);
    report.figure(what + ": share of the time in which inputs that fit are there", 100.0 * share, "%");
    report.figure(what + ": of the joins, with a time", rate.joins, "a second");
    tellJoins(report, what, *joining.traffic, rate.tells, rate.seconds, share, seconds, isShort);
    report.figure(what + ": growth of memory", (joining.scene.resident() - before) / 1e6, "MB", {Goal::AtMost, 30});
    joining.scene.expectEndInOrder(what);
}

}  // namespace

/// Everybody is believed an assurance state; of the others, one source is wanted.
void poison(Report& report, bool isShort)
{
    poisonFrom(report, "poison from sources that are not wanted", 97, isShort);
    poisonFrom(report, "poison from the wanted sources", kWanted, isShort);
}
