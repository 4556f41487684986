#include "reliability/hostile/Scene.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

namespace {

using Ending = ChildProcess::Ending;
using namespace std::chrono_literals;

const std::vector<int> kNine = {SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM, SIGTRAP, SIGSYS, SIGFPE, SIGINT};

std::string textOf(const Ending& ending)
{
    return "status " + std::to_string(ending.status) + ", signal " + std::to_string(ending.signal);
}

std::string exitLine(int signal)
{
    return "!!!!!! " ORVANE_SERVER_BINARY " has exited. Signal: " + std::to_string(signal) + "\n";
}

/// One life of the service, with a signal in it. Tells what broke.
struct Life {
    Life(Report& report, const std::string& step, int number)
        : scene(report), signal(number), what("signals-twice: signal " + std::to_string(number) + " in " + step)
    {}

    /// The second one may find nobody.
    void sendTwice()
    {
        const pid_t process = scene.desk().service().id();
        for (int time = 0; time < 2; ++time) kill(process, signal);
    }

    void expectEnding(const Ending& wanted)
    {
        const Ending ending = scene.desk().service().wait();
        scene.report().expect(ending == wanted, what + ": " + textOf(ending) + " instead of " + textOf(wanted));
    }

    void expectEndInOrder()
    {
        expectEnding({0, 0});
        scene.report().expect(scene.desk().service().output().ends_with(exitLine(signal)),
                              what + ": the last line does not name it");
    }

    Scene scene;
    const int signal;
    const std::string what;
};

/// Before START has passed: the default action.
void whileItBegins(Report& report, int signal)
{
    Life life(report, "the start of the process", signal);
    life.scene.desk().start();
    life.sendTwice();
    life.expectEnding({-1, signal});
}

void whileItConnects(Report& report, int signal)
{
    Life life(report, "Framework_Connect", signal);
    life.scene.desk().letGo(6);
    life.scene.desk().start();
    report.expect(eventually([&] { return life.scene.desk().isOpenByService("/dev/mcs5"); }),
                  life.what + ": it does not connect");
    life.sendTwice();
    life.expectEnding({-1, signal});
}

void whileItRuns(Report& report, int signal)
{
    Life life(report, "its run", signal);
    life.scene.run();
    life.sendTwice();
    life.expectEndInOrder();
}

void whileItStops(Report& report, int signal)
{
    Life life(report, "STOP", signal);
    life.scene.run();
    life.scene.desk().service().send(SIGTERM);
    std::this_thread::sleep_for(500ms);  // the flag has been looked at
    life.sendTwice();
    life.expectEndInOrder();
}

void whileItDisconnects(Report& report, int signal)
{
    Life life(report, "Framework_Disconnect", signal);
    life.scene.run();
    Bus bus;
    bus.request({{"request", "hold-delete"}, {"milliseconds", 1500}});
    life.scene.desk().service().send(SIGTERM);
    std::this_thread::sleep_for(1200ms);  // the bus service is being deleted
    life.sendTwice();
    life.expectEndInOrder();
}

}  // namespace

void signalsTwice(Report& report, bool isShort)
{
    const std::vector<int> signals = isShort ? std::vector<int>{SIGBUS} : kNine;
    int lives = 0;
    for (const int signal : signals) {
        for (const auto step : {whileItBegins, whileItConnects, whileItRuns, whileItStops, whileItDisconnects}) {
            step(report, signal);
            ++lives;
        }
    }
    report.figure("signals-twice: signals", static_cast<double>(signals.size()));
    report.figure("signals-twice: lives of the service", lives);
}

void stopAndContinue(Report& report, bool isShort)
{
    {
        Life life(report, "its run", SIGHUP);
        life.scene.run();
        life.sendTwice();
        life.expectEnding({-1, SIGHUP});  // its default action, always
    }
    Scene scene(report);
    Inputs inputs(scene.desk());
    scene.run();
    if (!report.expect(inputs.waitForService(), "stop-and-continue: the service was not found")) return;
    {
        const Traffic traffic(inputs);
        double longest = 0;
        for (int round = 0; round < (isShort ? 1 : 10); ++round) {
            report.expect(traffic.awaitJoin(), "stop-and-continue: no join came before the stop");
            scene.desk().service().send(SIGSTOP);
            std::this_thread::sleep_for(isShort ? 1s : 7s);  // longer than the transport's lease
            scene.desk().service().send(SIGCONT);
            const auto start = std::chrono::steady_clock::now();
            report.expect(traffic.awaitJoin(), "stop-and-continue: no join came after the stop");
            const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
            longest = std::max(longest, passed.count());
        }
        report.figure("stop-and-continue: longest from SIGCONT to the next join", longest, "s", {Goal::AtMost, 5});
        scene.desk().service().send(SIGSTOP);
        scene.desk().service().send(SIGTERM);
        scene.desk().service().send(SIGCONT);
        scene.expectEndInOrder("stop-and-continue: SIGTERM while stopped");
    }
}
