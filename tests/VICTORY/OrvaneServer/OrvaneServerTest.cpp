#include "ASPN/HealthReporter.h"
#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ProcessState.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using FACE::LCM::Halvex::ReportedState;
using FACE::LCM::Halvex::RequestedState;
using namespace std::chrono_literals;

namespace {

struct OrvaneServerTest : testing::Test {
    OrvaneServerTest()
    {
        server.turnPause() = 1ms;
        while (popHealthEvent() != "none") {
        }
    }
    ~OrvaneServerTest() override { server->Stop(); }

    int request(RequestedState::Value requested)
    {
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
        server->Request_State_Transition(requested, rc);
        return rc;
    }
    int state()
    {
        ReportedState::Value state = static_cast<ReportedState::Value>(99);
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
        server->Query_State(state, rc);
        EXPECT_EQ(rc, 0);
        return state;
    }

    /// Whether there was a worker, which `Stop` says on debug.
    bool endsAWorker()
    {
        server.settings().m_debug = true;
        const ConsoleCapture console(std::cout);
        server->Stop();
        return console.text() != "";
    }

    std::atomic<int> turns = 0;
    ServerDoor server;
};

}  // namespace

TEST_F(OrvaneServerTest, BasesStandInTheirOrder)
{
    using namespace FACE::LCM;
    OrvaneServer& object = *server;
    const auto address = [](auto* base) { return reinterpret_cast<std::uintptr_t>(base); };
    const auto initializable = address(static_cast<Initializable::InitializableInstance*>(&object));
    const auto configurable = address(static_cast<Configurable::ConfigurableInstance*>(&object));
    const auto connectable = address(static_cast<Connectable::ConnectableInstance*>(&object));
    const auto stateful =
        address(static_cast<Halvex::RequestedState_ReportedState::Stateful::StatefulInstance*>(&object));
    EXPECT_EQ(initializable, address(&object));
    EXPECT_LT(initializable, configurable);
    EXPECT_LT(configurable, connectable);
    EXPECT_LT(connectable, stateful);
}

TEST_F(OrvaneServerTest, IsServer52ByItsName)
{
    aspn2_msgs::idl::CommandResponse message;
    message.header().device_id(53 << 16);
    message.commanded_device_id(52 << 16);
    message.command_response("SOMETHING");
    server.run();
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.response(message);
    EXPECT_EQ(console.text(), "OrvaneServer : m_serverId = 52 : sourceId = 53, commandedId = 52, response string = "
                              "SOMETHING\n");
}

TEST_F(OrvaneServerTest, InitializeAndFinalizeAnswerNoAction)
{
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
    server->Initialize(rc);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ACTION);
    rc = RETURN_CODE_TYPE::NO_ERROR;
    server->Finalize(rc);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ACTION);
}

TEST_F(OrvaneServerTest, DisconnectOfWhatWasNeverConnectedSucceeds)
{
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    server->Framework_Disconnect(rc);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ERROR);
}

TEST_F(OrvaneServerTest, IsStoppedAtFirst)
{
    EXPECT_EQ(state(), 1);
    EXPECT_FALSE(endsAWorker());
}

TEST_F(OrvaneServerTest, StartRunsTheWorkerAndReportsIt)
{
    server.onBlendedNavigation = [&] { ++turns; };
    EXPECT_EQ(request(RequestedState::START), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(state(), 0);
    EXPECT_TRUE(eventually([&] { return turns > 2; }));
    EXPECT_EQ(popHealthEvent(), "2:OrvaneServer started successfully.");
    EXPECT_EQ(popHealthEvent(), "none");
}

TEST_F(OrvaneServerTest, StopEndsTheWorkerAndReportsIt)
{
    server.onBlendedNavigation = [&] { ++turns; };
    request(RequestedState::START);
    popHealthEvent();
    EXPECT_EQ(request(RequestedState::STOP), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(state(), 1);
    EXPECT_FALSE(endsAWorker());
    EXPECT_EQ(popHealthEvent(), "2:OrvaneServer stopped successfully.");
    EXPECT_EQ(popHealthEvent(), "none");
}

TEST_F(OrvaneServerTest, TheWorkerTurnsFromStartToStopAndNotWhileItsWorkHangs)
{
    const ThreadPulse& pulse = *server->threads().at(0);
    std::atomic<bool> hangs = false;
    std::atomic<std::uint32_t> turnThatHangs = ThreadPulse::kAtRest;
    server.onBlendedNavigation = [&] {
        while (hangs) {
            turnThatHangs = pulse.turns();
            std::this_thread::sleep_for(1ms);
        }
    };
    EXPECT_EQ(pulse.turns(), ThreadPulse::kAtRest);
    server->Start();
    EXPECT_TRUE(eventually([&] { return pulse.turns() >= 3; }));
    hangs = true;
    EXPECT_TRUE(eventually([&] { return turnThatHangs != ThreadPulse::kAtRest; }));
    const std::uint32_t before = turnThatHangs;
    std::this_thread::sleep_for(20ms);  // many pauses of a worker that goes on
    EXPECT_EQ(pulse.turns(), before);
    hangs = false;
    EXPECT_TRUE(eventually([&] { return pulse.turns() > before; }));
    server->Stop();
    EXPECT_EQ(pulse.turns(), ThreadPulse::kAtRest);
}

TEST_F(OrvaneServerTest, ThreeThreadsAreWatched)
{
    const auto threads = server->threads();
    ASSERT_EQ(threads.size(), 3u);
    EXPECT_EQ(threads[2], &HealthReporter::Instance().pulse());
    for (const ThreadPulse* thread : threads) EXPECT_EQ(thread->turns(), ThreadPulse::kAtRest);
}

TEST_F(OrvaneServerTest, StartOfARunningServerIsNotAvailableAndStartsNothing)
{
    std::atomic<pid_t> worker = 0;
    std::atomic<int> workers = 0;
    server.onBlendedNavigation = [&] {
        if (worker.exchange(gettid()) != gettid()) ++workers;
        ++turns;
    };
    request(RequestedState::START);
    popHealthEvent();
    EXPECT_TRUE(eventually([&] { return turns > 0; }));
    EXPECT_EQ(request(RequestedState::START), RETURN_CODE_TYPE::NOT_AVAILABLE);
    EXPECT_TRUE(eventually([&, before = turns.load()] { return turns > before + 1; }));
    server->Stop();  // before what its thread counts by goes
    EXPECT_EQ(workers, 1);
    EXPECT_EQ(state(), 0);
    EXPECT_EQ(popHealthEvent(), "none");
}

TEST_F(OrvaneServerTest, StopOfAStoppedServerIsNotAvailable)
{
    EXPECT_EQ(request(RequestedState::STOP), RETURN_CODE_TYPE::NOT_AVAILABLE);
    EXPECT_EQ(state(), 1);
    EXPECT_EQ(popHealthEvent(), "none");
}

TEST_F(OrvaneServerTest, AnUnknownRequestIsNotAvailableInBothStates)
{
    EXPECT_EQ(request(static_cast<RequestedState::Value>(2)), RETURN_CODE_TYPE::NOT_AVAILABLE);
    request(RequestedState::START);
    EXPECT_EQ(request(static_cast<RequestedState::Value>(-1)), RETURN_CODE_TYPE::NOT_AVAILABLE);
    EXPECT_EQ(state(), 0);
}

TEST_F(OrvaneServerTest, MayBeStartedAgainAfterAStop)
{
    EXPECT_EQ(request(RequestedState::START), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(request(RequestedState::STOP), RETURN_CODE_TYPE::NO_ERROR);
    server.onBlendedNavigation = [&] { ++turns; };
    EXPECT_EQ(request(RequestedState::START), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_TRUE(eventually([&] { return turns > 0; }));
}

TEST_F(OrvaneServerTest, StartingTheWorkerAgainJoinsTheFirstThread)
{
    server.onBlendedNavigation = [&] { ++turns; };
    server->Start();
    server->Start();
    EXPECT_TRUE(eventually([&] { return turns > 0; }));
}

TEST_F(OrvaneServerTest, DebugTellsOfTheThreadWithTwoCapitalizations)
{
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    server->Start();
    server->Stop();
    const std::string once = console.text();
    server->Stop();
    // Between the two, turns of the thread write lines of their own.
    EXPECT_TRUE(once.starts_with("OrvaneServer: Start : Worker thread started.\n") ||
                once.find("\nOrvaneServer: Start : Worker thread started.\n") != std::string::npos)
        << once;
    EXPECT_TRUE(once.ends_with("\nOrvaneServer: Stop : worker thread stopped.\n")) << once;
    EXPECT_EQ(console.text(), once);
}

TEST_F(OrvaneServerTest, WithoutDebugTheThreadIsNotMentioned)
{
    const ConsoleCapture console(std::cout);
    server->Start();
    server->Stop();
    EXPECT_EQ(console.text(), "");
}

TEST_F(OrvaneServerTest, ATurnLooksForFaultsOnlyInTestModeAndFirst)
{
    std::vector<std::string> steps;
    server.onFaultTest = [&] { steps.push_back("faults"); };
    server.onBlendedNavigation = [&] { steps.push_back("blended"); };
    server.turn();
    EXPECT_EQ(steps, std::vector<std::string>({"blended"}));
    server.settings().m_testMode = true;
    steps.clear();
    server.turn();
    EXPECT_EQ(steps, std::vector<std::string>({"faults", "blended"}));
}

TEST_F(OrvaneServerTest, ATurnStartsAQuarterOfASecondAfterTheLast)
{
    EXPECT_EQ(ServerDoor().turnPause(), 250ms);
}

TEST_F(OrvaneServerTest, StopEndsThePauseAndOneMoreTurnIsDone)
{
    std::atomic<pid_t> worker = 0;
    server.onBlendedNavigation = [&] {
        server.turnPause() = 1h;  // from now on
        worker = gettid();
        ++turns;
    };
    server->Start();
    EXPECT_TRUE(eventually([&] { return turns == 1; }));
    int looks = 0;  // in a row, at the worker asleep: in its pause
    EXPECT_TRUE(eventually([&] { return (looks = isAsleep(worker) ? looks + 1 : 0) == 5; }));
    server->Stop();
    EXPECT_EQ(turns, 2);
}

TEST_F(OrvaneServerTest, AnExceptionEndsTheTurnAndTheLoopGoesOn)
{
    const ConsoleCapture console(std::cout);
    server.settings().m_testMode = true;
    server.onFaultTest = [&] {
        if (++turns == 1) throw std::runtime_error("the text");
    };
    std::atomic<int> blended = 0;
    server.onBlendedNavigation = [&] { ++blended; };
    server->Start();
    EXPECT_TRUE(eventually([&] { return blended >= 1; }));
    server->Stop();
    EXPECT_EQ(turns, blended + 1);
    EXPECT_EQ(console.text(), "OrvaneServer: workerThreadFunction() EXCEPTION: the text\n");
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: workerThreadFunction() EXCEPTION: the text");
    EXPECT_EQ(popHealthEvent(), "none");
}

TEST_F(OrvaneServerTest, WhatIsNoStandardExceptionIsReportedAsUnknown)
{
    const ConsoleCapture console(std::cout);
    server.onBlendedNavigation = [&] {
        if (++turns == 1) throw 42;
    };
    server->Start();
    EXPECT_TRUE(eventually([&] { return turns >= 2; }));
    server->Stop();
    EXPECT_EQ(console.text(), "OrvaneServer: workerThreadFunction() EXCEPTION: <unknown>\n");
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: workerThreadFunction() EXCEPTION: <unknown>");
}

TEST_F(OrvaneServerTest, StartAndStopAreNotVirtual)
{
    struct Derived : OrvaneServer {
        void Start() { ADD_FAILURE(); }
        void Stop() { ADD_FAILURE(); }
        void attemptBlendedNavigationProcessing() override { ++turns; }
        std::atomic<int> turns = 0;
    } derived;
    OrvaneServer& base = derived;
    base.Start();
    EXPECT_TRUE(eventually([&] { return derived.turns > 0; }));
    base.Stop();  // or else the end of the thread's object ends the process
}

TEST_F(OrvaneServerTest, VirtualOperationsStandInTheirOrder)
{
    const std::vector<std::uintptr_t> slots = {virtualSlot(&OrvaneServer::Initialize),
                                               virtualSlot(&OrvaneServer::Finalize),
                                               virtualSlot(&OrvaneServer::Configure),
                                               virtualSlot(&OrvaneServer::Framework_Connect),
                                               virtualSlot(&OrvaneServer::Framework_Disconnect),
                                               virtualSlot(&OrvaneServer::Query_State),
                                               virtualSlot(&OrvaneServer::Request_State_Transition),
                                               virtualSlot(&OrvaneServer::checkForFaultTestEvents),
                                               virtualSlot(&OrvaneServer::attemptBlendedNavigationProcessing)};
    for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + sizeof(void*)) << i;
}

TEST_F(OrvaneServerTest, StateIsStillStoppedWhileTheWorkerIsStarted)
{
    // Looks at the state when this thread writes a line; turns of the worker write lines of their own meanwhile.
    struct Watch : std::streambuf {
        explicit Watch(OrvaneServerTest& test) : m_test(test) {}
        std::streamsize xsputn(const char*, std::streamsize count) override
        {
            if (std::this_thread::get_id() == m_thread) seen.push_back(m_test.state());
            return count;
        }
        OrvaneServerTest& m_test;
        const std::thread::id m_thread = std::this_thread::get_id();
        std::vector<int> seen;
    } watch(*this);
    server.settings().m_debug = true;
    std::streambuf* const previous = std::cout.rdbuf(&watch);
    request(RequestedState::START);
    request(RequestedState::STOP);
    std::cout.rdbuf(previous);
    EXPECT_EQ(watch.seen, std::vector<int>({1, 0}));  // "started" while stopped, "stopped" while running
}

TEST_F(OrvaneServerTest, AnyThreadMayAskForTheState)
{
    std::atomic<bool> stop = false;
    std::thread reader([&] {
        while (!stop) {
            const int reported = state();
            EXPECT_TRUE(reported == 0 || reported == 1);
        }
    });
    for (int i = 0; i < 20; ++i) {
        request(RequestedState::START);
        request(RequestedState::STOP);
    }
    stop = true;
    reader.join();
    EXPECT_EQ(state(), 1);
}
