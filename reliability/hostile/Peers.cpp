#include "aspn2_msgs/UTCTimePubSubTypes.h"
#include "reliability/hostile/Payloads.h"
#include "reliability/hostile/RawPeer.h"
#include "reliability/hostile/Scene.h"
#include "tests/support/Topics.h"

#include <algorithm>
#include <atomic>
#include <chrono>
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

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A service with its inputs and their joins.
struct JoiningScene {
    explicit JoiningScene(Report& report) : scene(report)
    {
        // Others may give anything: these sources are wanted.
        for (const char* const key : {"PARAM_3", "PARAM_4", "PARAM_6", "PARAM_7"}) scene.desk().set(key, "96");
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
    std::uint64_t sent = 0;
    const double rate = joining.traffic->rateWhile([&] {
        for (const auto end = Clock::now() + std::chrono::seconds(isShort ? 1 : 30); Clock::now() < end;) {
            for (std::size_t i = 0; i < kTopics.size(); ++i) {
                sent += stranger.send(strange[i], other[i].extreme());
                sent += liar.send(lying[i], other[i].extreme());
            }
            std::this_thread::sleep_for(10ms);
        }
    });
    report.figure("wrong-types: payloads", static_cast<double>(sent));
    report.figure("wrong-types: joins meanwhile", rate, "a second", {Goal::AtLeast, 1});
    report.expect(joining.traffic->awaitJoin(), "wrong-types: no join came afterwards");
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
    std::uint64_t sent = 0;
    const double rate = joining.traffic->rateWhile([&] {
        for (const auto end = Clock::now() + std::chrono::seconds(isShort ? 1 : 30); Clock::now() < end;) {
            for (std::size_t i = 0; i < kPublishers; ++i) sent += peer.send(i, payload);
            std::this_thread::sleep_for(10ms);
        }
    });
    report.figure("duplicates: publishers of one topic", kPublishers);
    report.figure("duplicates: samples", static_cast<double>(sent));
    report.figure("duplicates: joins meanwhile", rate, "a second", {Goal::AtLeast, 1});
    report.figure("duplicates: growth of memory", (joining.scene.resident() - before) / 1e6, "MB", {Goal::AtMost, 30});
    report.expect(joining.traffic->awaitJoin(), "duplicates: no join came afterwards");
    joining.scene.expectEndInOrder("duplicates");
}

namespace {

/// A thousand payloads a second on each topic that are no records, or records of no sense.
/// @param source  server that the extreme ones name
void poisonFrom(Report& report, const std::string& what, std::uint8_t source, std::chrono::seconds time)
{
    constexpr auto kPeriod = 1ms;
    JoiningScene joining(report);
    const double before = joining.scene.resident();
    std::list<RawPeer> peers;
    for (const auto& [topic, type] : kTopics)
        peers.emplace_back(settings(), "poisoner of " + topic).add(topic, kTypes + type);

    std::atomic<std::uint64_t> sent = 0, refused = 0;
    double seconds = 0;
    const double rate = joining.traffic->rateWhile([&] {
        std::vector<std::jthread> senders;
        const auto start = Clock::now();
        auto topic = kTopics.begin();
        std::uint32_t seed = source;
        for (RawPeer& peer : peers) {
            senders.emplace_back([&, type = topic->second, seed](const std::stop_token& stop) {
                Payloads payloads(type, seed, deviceId(source), Traffic::kSeconds);
                for (auto due = start; !stop.stop_requested(); due += kPeriod) {
                    std::this_thread::sleep_until(due);
                    ++(peer.send(0, payloads.next()) ? sent : refused);
                }
            });
            ++topic, ++seed;
        }
        std::this_thread::sleep_for(time);
        seconds = secondsSince(start);
    });
    report.figure(what + ": payloads", static_cast<double>(sent));
    report.figure(what + ": payloads on each topic",
                  static_cast<double>(sent) / seconds / static_cast<double>(kTopics.size()), "a second",
                  {Goal::AtLeast, 1000});
    report.figure(what + ": not taken by the sender's transport", static_cast<double>(refused));
    report.figure(what + ": joins meanwhile", rate, "a second", {Goal::AtLeast, 0.5});
    report.figure(what + ": growth of memory", (joining.scene.resident() - before) / 1e6, "MB", {Goal::AtMost, 30});
    report.expect(joining.traffic->awaitJoin(), what + ": no join came afterwards");
    joining.scene.expectEndInOrder(what);
}

}  // namespace

/// Everybody is believed an assurance state; of the others, one source is wanted.
void poison(Report& report, bool isShort)
{
    poisonFrom(report, "poison from sources that are not wanted", 97, std::chrono::seconds(isShort ? 2 : 60));
    poisonFrom(report, "poison from the wanted sources", 96, std::chrono::seconds(isShort ? 2 : 60));
}
