#include "aspn2_msgs/CommandResponse.h"
#include "reliability/hostile/Scene.h"

#include <array>
#include <chrono>
#include <string>
#include <thread>

namespace {

using aspn2_msgs::idl::CommandResponse;
using Json = Bus::Json;
using Clock = std::chrono::steady_clock;

constexpr std::array kCalls = {"navwar-sa", "warning-messages", "save-vcl", "clear-data", "system-configuration",
                               "bit-run",   "bit-results",      "bit-clear"};

void ping(const Publisher<CommandResponse>& commands)
{
    CommandResponse command;
    command.header().device_id(deviceId(32, 2));
    command.command_response("BITSERVER_PING");
    commands.send(command);
}

}  // namespace

/// A tell that the library does not return from: what comes meanwhile waits, and the newest of it is joined then.
void blockedTell(Report& report, bool isShort)
{
    const int milliseconds = isShort ? 1500 : 30000;
    Scene scene(report);
    Inputs inputs(scene.desk());
    const Subscriber<CommandResponse> responses(inputs.transport(), "Response");
    const Publisher<CommandResponse> commands(inputs.transport(), "Command");
    scene.run();
    Bus bus;
    const bool isFound = inputs.waitForService() && responses.waitForPublisher() && commands.waitForSubscriber();
    if (!report.expect(isFound, "blocked-tell: the service was not found")) return;
    {
        const Traffic traffic(inputs);
        report.expect(traffic.awaitJoin(), "blocked-tell: no join came before");
        bus.request({{"request", "hold-tell"}, {"tell", "blended-navigation"}, {"milliseconds", milliseconds}});
        bus.await("the tell to be held", [](const Json& line) { return line.value("type", "") == "held"; });
        const auto start = Clock::now();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // inputs have come meanwhile
        ping(commands);
        report.expect(traffic.awaitJoin(std::chrono::seconds(60)), "blocked-tell: the held join was lost");
        const std::chrono::duration<double> passed = Clock::now() - start;
        report.expect(responses.inbox().waitFor(1), "blocked-tell: a command was not answered");
        const std::chrono::duration<double> answered = Clock::now() - start;
        report.figure("blocked-tell: until a command is answered that comes meanwhile", answered.count(), "s");
        bus.request({{"request", "release-tell"}, {"tell", "blended-navigation"}});
        const auto before = traffic.joins();
        report.expect(eventually([&] { return traffic.joins() >= before + 3; }), "blocked-tell: no join came again");
        report.figure("blocked-tell: a tell is held for", milliseconds / 1000.0, "s");
        report.figure("blocked-tell: until its join is told", passed.count(), "s",
                      {Goal::AtMost, milliseconds / 1000.0 + 5});
        bus.request({{"request", "hold-tell"}, {"tell", "blended-navigation"}, {"milliseconds", milliseconds}});
        bus.await("the tell to be held", [](const Json& line) { return line.value("type", "") == "held"; });
        scene.expectEndInOrder("blocked-tell: while a tell is held");
    }
}

/// Call-backs beside themselves, without a context, with wild counts, during the deletion.
void strayCalls(Report& report, bool isShort)
{
    Scene scene(report);
    scene.desk().set("Debug", "true");
    Inputs inputs(scene.desk());
    scene.run();
    scene.desk().completeSelfTest();
    report.expect(scene.desk().awaitOutput("State Notification: Post IS Complete!\n"), "stray-calls: no self test");
    Bus bus;
    if (!report.expect(inputs.waitForService(), "stray-calls: the service was not found")) return;
    std::size_t calls = 0;
    {
        const Traffic traffic(inputs);
        const int times = isShort ? 8 : 24;
        const auto rate = traffic.rateWhile([&] {
            for (const bool withContext : {false, true})
                for (const int count : {-2147483647 - 1, -1, 51, 2147483647})
                    for (const char* const call : kCalls) {
                        // These hold their thread for 12 s.
                        const bool isHeld = call == kCalls[3] || call == kCalls[4];
                        if (isHeld && withContext && (isShort || count != 51)) continue;
                        const Json answer = bus.request({{"request", "misbehave"},
                                                         {"call", call},
                                                         {"times", times},
                                                         {"context", withContext},
                                                         {"count", count}});
                        report.expect(answer.value("ok", false), "stray-calls: " + answer.dump());
                        calls += static_cast<std::size_t>(times);
                    }
            report.expect(traffic.awaitJoin(), "stray-calls: no join came beside them");
        });
        report.figure("stray-calls: joins meanwhile", rate.joins, "a second");
        bus.request({{"request", "misbehave"}, {"call", "navwar-sa"}, {"times", times}, {"when", "deletion"}});
        calls += static_cast<std::size_t>(times);
    }
    report.figure("stray-calls: call-backs", static_cast<double>(calls));
    scene.expectEndInOrder("stray-calls");
}
