#include "reliability/hostile/HeldThread.h"
#include "reliability/hostile/PendingSignal.h"
#include "reliability/hostile/Scene.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>
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

/// Something that is open.
class Opened {
public:
    Opened(const std::string& path, int mode) : m_descriptor(open(path.c_str(), mode | O_CLOEXEC)) {}
    ~Opened() { close(m_descriptor); }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    bool isOpen() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

/// One life of the service, with a signal in it. Tells what broke.
struct Life {
    Life(Report& report, const std::string& step, int number)
        : scene(report), signal(number), what("signals-twice: signal " + std::to_string(number) + " in " + step)
    {}

    /// The second one is sent when the first is no longer pending, else they would be one. It may find nobody.
    void sendTwice()
    {
        const pid_t process = scene.desk().service().id();
        auto state = SignalState::Taken;
        for (int time = 0; time < 2 && state == SignalState::Taken; ++time) {
            kill(process, signal);
            state = awaitTaken(process, signal);
        }
        hasTakenBoth = state == SignalState::Taken;
    }

    void expectEnding(const Ending& wanted)
    {
        const Ending ending = scene.desk().service().wait();
        scene.report().expect(ending == wanted, what + ": " + textOf(ending) + " instead of " + textOf(wanted));
    }

    /// @param named  the signal of the last line
    void expectEndInOrder(int named)
    {
        scene.report().expect(hasTakenBoth, what + ": the service has not lived to take both");
        expectEnding({0, 0});
        scene.report().expect(scene.desk().service().output().ends_with(exitLine(named)),
                              what + ": the last line does not name signal " + std::to_string(named));
    }

    Scene scene;
    const int signal;
    const std::string what;
    bool hasTakenBoth = false;
};

// Each gives whether the service took both. Before START has passed, the default action of the first one ends it.

bool whileItBegins(Report& report, int signal)
{
    Life life(report, "the start of the process", signal);
    life.scene.desk().start();
    life.sendTwice();
    life.expectEnding({-1, signal});
    return false;
}

/// It is held at the line that tells its configuration, which stands in the middle of the step. It stops before it
/// begins, so that nothing is missed.
bool whileItIsConfigured(Report& report, int signal)
{
    Life life(report, "Configure", signal);
    const ChildProcess& service = life.scene.desk().start({"/bin/sh", "-c", R"(kill -STOP $$; exec "$0" "$1")"});
    const std::string file = "/proc/" + std::to_string(service.id()) + "/status";
    report.expect(eventually([&] { return readFile(file).find("State:\tT") != std::string::npos; }),
                  life.what + ": it does not stop");
    HeldThread held(service.id());
    service.send(SIGCONT);
    report.expect(held.runTo(": configuration parameters: "), life.what + ": it does not read its configuration");
    held.sendTwice(signal);
    life.expectEnding({-1, signal});
    return false;
}

bool whileItConnects(Report& report, int signal)
{
    Life life(report, "Framework_Connect", signal);
    life.scene.desk().letGo(6);
    life.scene.desk().start();
    report.expect(eventually([&] { return life.scene.desk().isOpenByService("/dev/mcs5"); }),
                  life.what + ": it does not connect");
    life.sendTwice();
    life.expectEnding({-1, signal});
    return false;
}

/// It is held at the line that tells of its worker, which stands in the middle of the step.
bool whileItStarts(Report& report, int signal)
{
    Life life(report, "START", signal);
    life.scene.desk().set("Debug", "true");
    life.scene.desk().letGo(6);
    life.scene.desk().start();
    report.expect(eventually([&] { return life.scene.desk().isOpenByService("/dev/mcs5"); }),
                  life.what + ": it does not connect");
    HeldThread held(life.scene.desk().service().id());
    const Opened queue("/dev/mcs6", O_RDWR);
    report.expect(held.runTo(": Start : Worker thread started."), life.what + ": it does not start");
    held.sendTwice(signal);
    life.expectEnding({-1, signal});
    return false;
}

bool whileItRuns(Report& report, int signal)
{
    Life life(report, "its run", signal);
    life.scene.run();
    life.sendTwice();
    life.expectEndInOrder(signal);
    return life.hasTakenBoth;
}

bool whileItStops(Report& report, int signal)
{
    Life life(report, "STOP", signal);
    life.scene.run();
    life.scene.desk().service().send(SIGTERM);
    std::this_thread::sleep_for(500ms);  // the flag has been looked at
    life.sendTwice();
    life.expectEndInOrder(signal);
    return life.hasTakenBoth;
}

bool whileItDisconnects(Report& report, int signal)
{
    Life life(report, "Framework_Disconnect", signal);
    life.scene.run();
    Bus bus;
    bus.request({{"request", "hold-delete"}, {"milliseconds", 1500}});
    life.scene.desk().service().send(SIGTERM);
    std::this_thread::sleep_for(1200ms);  // the bus service is being deleted
    life.sendTwice();
    life.expectEndInOrder(signal);
    return life.hasTakenBoth;
}

/// Finalize has nothing to do, and no instruction of its own: behind it, it is held at its last line.
bool behindItsEnd(Report& report, int signal)
{
    Life life(report, "the end, behind Finalize", signal);
    life.scene.run();
    HeldThread held(life.scene.desk().service().id());
    life.scene.desk().service().send(SIGTERM);
    report.expect(held.runTo(" has exited. Signal: "), life.what + ": it does not end");
    life.hasTakenBoth = held.sendTwice(signal);
    life.expectEndInOrder(SIGTERM);
    return life.hasTakenBoth;
}

}  // namespace

void signalsTwice(Report& report, bool isShort)
{
    const std::vector<int> signals = isShort ? std::vector<int>{SIGBUS} : kNine;
    int lives = 0, both = 0;
    for (const int signal : signals) {
        for (const auto step : {whileItBegins, whileItIsConfigured, whileItConnects, whileItStarts, whileItRuns,
                                whileItStops, whileItDisconnects, behindItsEnd}) {
            both += step(report, signal);
            ++lives;
        }
    }
    report.figure("signals-twice: signals", static_cast<double>(signals.size()));
    report.figure("signals-twice: lives of the service", lives);
    report.figure("signals-twice: of these took both signals", both, "",
                  {Goal::AtLeast, 4.0 * static_cast<double>(signals.size())});
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
