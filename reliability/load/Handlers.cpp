#include "reliability/Statistics.h"
#include "reliability/load/Scenes.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/FrameBytes.h"
#include "tests/support/Inputs.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace aspn2_msgs::idl;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::microseconds kPeriod{100};  // 10 kHz
constexpr std::chrono::milliseconds kTurn{250};

template <class T>
T sample(std::uint8_t server = 96)
{
    T record;
    record.header().device_id(deviceId(server));
    validAt(record, 1);
    return record;
}

GSSIP receiverRecord()
{
    ZentorM_8504_Msg message;
    message.pack_8504();
    FrameBytes frame;
    message.WriteMessage(&frame);
    auto record = sample<GSSIP>(39);
    record.num_bytes(static_cast<std::int32_t>(frame.data.size()));
    record.data(frame.data);
    return record;
}

/// Calls something 10,000 times a second.
/// @return how long each call took, in microseconds
std::vector<double> timesOf(Seconds time, const std::function<void()>& call)
{
    std::vector<double> times;
    const auto begin = Clock::now();
    const auto end = begin + std::chrono::duration_cast<Clock::duration>(time);
    for (auto due = begin; due < end; due += kPeriod) {
        std::this_thread::sleep_until(due);
        const auto called = Clock::now();
        call();
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - called).count());
    }
    return times;
}

/// The least that a handler must do: a copy, under a lock that nobody else wants.
template <class T>
std::vector<double> timesOfCopy(Seconds time, const T& record)
{
    std::mutex mutex;
    T latest;
    return timesOf(time, [&] {
        const std::lock_guard lock(mutex);
        latest = record;
    });
}

}  // namespace

void Scenes::handlers(Report& report, bool isShort)
{
    const Seconds time = isShort ? Seconds(0.2) : Seconds(15);
    ServerDoor server;
    server.settings().m_gssipSourceServers = {39};
    server.settings().m_quiet = true;
    server.settings().m_victoryConfigurationFile = ServerSettings().m_victoryConfigurationFile;  // the unit's own
    server.settings().m_vclFile = ServerSettings().m_vclFile;
    if (!report.expect(server.bus().start(nullptr), "the bus's service does not start")) return;
    server.run();

    const auto pva = sample<PositionVelocityAttitude>();
    const auto utcTime = sample<UTCTime>();
    const auto pnt = sample<HalvexPNT>();
    const auto mis = sample<MeasurementIncorporationStatus>();
    const auto assurance = sample<AssuranceState>();
    const auto receiver = receiverRecord();

    // Meanwhile all others come too, and are joined: a handler may meet the worker.
    std::jthread worker([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            server.deliver(pva);
            server.deliver(utcTime);
            server.deliver(pnt);
            server.deliver(mis);
            server.deliver(assurance);
            server.fromReceiver(receiver);
            server->attemptBlendedNavigationProcessing();
            std::this_thread::sleep_for(kTurn);
        }
    });
    const auto measure = [&](const std::string& name, const auto& record, const std::function<void()>& call) {
        const Goal goal{Goal::AtMost, std::chrono::duration<double, std::micro>(kPeriod).count()};
        Statistics::tell(report, name + ", a copy", timesOfCopy(time / 4, record), "us");
        Statistics::tell(report, name + ", its handler", timesOf(time, call), "us", goal);
    };
    measure("PositionVelocityAttitude", pva, [&] { server.deliver(pva); });
    measure("UTCTime", utcTime, [&] { server.deliver(utcTime); });
    measure("HalvexPNT", pnt, [&] { server.deliver(pnt); });
    measure("MeasurementIncorporationStatus", mis, [&] { server.deliver(mis); });
    measure("AssuranceState", assurance, [&] { server.deliver(assurance); });
    measure("message 8504", receiver, [&] { server.fromReceiver(receiver); });
    const auto bitReport = sample<BitReport>();
    measure("BitReport", bitReport, [&] { server.deliver(bitReport); });
    auto response = sample<CommandResponse>(53);
    response.command_response("REQUEST_SOMETHING_PASS");
    measure("Response", response, [&] { server.response(response); });
    auto command = sample<CommandResponse>(53);
    command.command_response("REQUEST_SOMETHING");
    measure("Command", command, [&] { server.command(command); });
    worker.request_stop();
    worker.join();
    server.halt();
    server.bus().stop();
}
