#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/Partners.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/system/WhatIsLeft.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using Ending = ChildProcess::Ending;
using namespace std::chrono_literals;

namespace {

/// A service that talks over shared memory, of which it is to leave nothing.
struct EndSystemTest : testing::Test {
    EndSystemTest() { desk.replace("Connections.xml", "<UseTransport>UDP<", "<UseTransport>SHM<"); }

    static std::string exitLine(int signal)
    {
        return "!!!!!! " ORVANE_SERVER_BINARY " has exited. Signal: " + std::to_string(signal) + "\n";
    }

    /// Ends the service by SIGTERM, which must end in order.
    void expectEndInOrder()
    {
        desk.service().send(SIGTERM);
        EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
        EXPECT_TRUE(desk.service().output().ends_with(exitLine(15))) << desk.service().output();
        EXPECT_EQ(desk.service().errors(), "");
    }

    /// Whatever is there but for the flags of the unit was left by the service.
    void expectNothingLeft() const
    {
        EXPECT_EQ(entries("/dev/shm"), Names());
        Names files = entries("/tmp");
        files.erase("PostComplete");
        EXPECT_EQ(files, unitsFiles);
        EXPECT_EQ(processes(), unitsProcesses);
    }

    // What is there without the service; the project itself may be seen there.
    Names unitsFiles = entries("/tmp");
    const Names unitsProcesses = processes();
    Desk desk;
};

/// The same with partners, which share a network with it instead: their shared memory would be in the way.
struct EndWithPartnersSystemTest : EndSystemTest {
    EndWithPartnersSystemTest()
    {
        desk.replace("Connections.xml", "<UseTransport>SHM<", "<UseTransport>UDP<");
        desk.set("Debug", "true");
        partners.emplace(desk);
        unitsFiles = entries("/tmp");
        desk.run();
        bus.emplace();
        if (!partners->waitForService()) throw std::runtime_error("the partners don't meet the service");
    }

    std::optional<Partners> partners;
    std::optional<Bus> bus;
};

}  // namespace

TEST_F(EndSystemTest, ServiceThatWaitsForTheSelfTestLeavesNothingBehind)
{
    desk.set("Debug", "true");
    desk.run();
    ASSERT_TRUE(desk.awaitTurns());
    ASSERT_NE(entries("/dev/shm"), Names());  // there is something to be left
    ASSERT_TRUE(fs::is_socket("/tmp/bus"));
    expectEndInOrder();
    EXPECT_EQ(desk.count("Post IS Complete"), 0U);
    expectNothingLeft();
}

TEST_F(EndSystemTest, RunningServiceLeavesNothingBehind)
{
    desk.set("Debug", "true");
    desk.run();
    desk.completeSelfTest();
    ASSERT_TRUE(desk.awaitOutput("State Notification: Post IS Complete!\n"));
    expectEndInOrder();
    expectNothingLeft();
}

TEST_F(EndSystemTest, ServiceWithAClientAndInputsEndsInOrderAndLeavesNothingBehind)
{
    desk.replace("Connections.xml", "<UseTransport>SHM<", "<UseTransport>UDP<");
    const Inputs inputs(desk);
    unitsFiles = entries("/tmp");
    desk.run();
    Bus bus;
    ASSERT_TRUE(inputs.waitForService());
    inputs.sendAll();
    bus.awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    expectEndInOrder();
    expectNothingLeft();
}

TEST_F(EndSystemTest, SignalWhileItConnectsTakesItsDefaultAction)
{
    desk.letGo(6);  // the service waits for somebody to open the other end
    desk.start();
    ASSERT_TRUE(eventually([&] { return desk.isOpenByService("/dev/mcs5"); }));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGTERM}));
    EXPECT_EQ(desk.count("has exited"), 0U);
    EXPECT_EQ(entries("/tmp"), unitsFiles);
    EXPECT_EQ(processes(), unitsProcesses);

    // The shared memory is the transport's, which had no time to clear up: the next service adds nothing to it.
    const Names left = entries("/dev/shm");
    for (const std::string& name : left) EXPECT_NE(name.find("fastrtps_"), std::string::npos) << name;
    const int other = open("/dev/mcs6", O_RDWR | O_CLOEXEC);
    desk.run();
    expectEndInOrder();
    close(other);
    EXPECT_TRUE(std::ranges::includes(left, entries("/dev/shm")));
    EXPECT_EQ(entries("/tmp"), unitsFiles);
    EXPECT_EQ(processes(), unitsProcesses);
}

TEST_F(EndSystemTest, SandboxTakesAwayWhatASignalWhileItConnectsLeaves)
{
    // Nobody opens the other ends of this unit's queues.
    const TemporaryDirectory machine;
    std::vector<std::string> line = {"/usr/bin/env",
                                     "--default-signal=TERM",
                                     "TMPDIR=" + machine.path().string(),
                                     ORVANE_LAB_DIR "/sandbox",
                                     "--",
                                     "/bin/sh",
                                     "-c",
                                     "sed -i 's/<UseTransport>UDP</<UseTransport>SHM</' "
                                     "/opt/halvex/config/Connections.xml && exec \"$@\"",
                                     "sh"};
    const auto service = Desk::commandLine();
    line.insert(line.end(), service.begin(), service.end());
    ChildProcess sandbox(line);
    ASSERT_TRUE(eventually([&] {
        const Names units = entries(machine.path());
        const auto memory = machine.path() / (units.empty() ? "" : *units.begin()) / "shm";
        return fs::exists(memory) && !fs::is_empty(memory);
    })) << sandbox.errors();
    sandbox.send(SIGTERM);
    EXPECT_EQ(sandbox.wait(), Ending({128 + SIGTERM, 0})) << sandbox.errors();
    EXPECT_EQ(entries(machine.path()), Names());
    EXPECT_EQ(entries("/dev/shm"), Names());
    EXPECT_TRUE(eventually([&] { return processes() == unitsProcesses; }));
}

TEST_F(EndSystemTest, RequestThatWaitsForAnAnswerDelaysTheEndOnly)
{
    desk.set("Debug", "true");
    desk.run();
    Bus bus;
    auto answer = std::async(std::launch::async, [&] { return bus.request({{"request", "clear-data"}}); });
    EXPECT_TRUE(desk.awaitOutput("CALLBACK RECIEVED --- \n"));
    desk.service().send(SIGTERM);
    EXPECT_EQ(answer.get().at("returned"), 1);  // nobody has answered the service
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_TRUE(desk.service().output().ends_with(exitLine(15)));
    expectNothingLeft();
}

TEST_F(EndWithPartnersSystemTest, ErasingDoesNotDelayTheEndAndLeavesNothingBehind)
{
    auto answer = std::async(std::launch::async, [&] { return bus->request({{"request", "clear-data"}}); });
    ASSERT_TRUE(partners->awaitCommand("REQUEST_ZEROIZE"));
    partners->respond("REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(answer.get().at("returned"), 1);
    ASSERT_TRUE(desk.awaitOutput(", in-progress"));  // for two hours, by the watchdog
    const auto start = std::chrono::steady_clock::now();
    expectEndInOrder();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    EXPECT_EQ(desk.count("timed out"), 0U);
    expectNothingLeft();
}

TEST_F(EndWithPartnersSystemTest, RestartThatIsUnderWayIsFinishedAndLeavesNothingBehind)
{
    // The new service is held up while it is set up.
    ASSERT_TRUE(
        bus->request({{"request", "hold-tell"}, {"tell", "available-sensors"}, {"milliseconds", 5000}}).at("ok"));
    partners->command("START_ZEROIZE");
    constexpr const char* kDeleted = "\nOrvaneServer : VapntsService exited\n";
    ASSERT_TRUE(desk.awaitOutput(kDeleted));
    const auto start = std::chrono::steady_clock::now();
    expectEndInOrder();
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(desk.count(kDeleted), 2U);  // the old one's and the new one's
    expectNothingLeft();
}

TEST_F(EndWithPartnersSystemTest, FloodOfOrdersToSanitizeDelaysTheEndByTheOneThatIsUnderWay)
{
    ASSERT_TRUE(bus->request({{"request", "hold-delete"}, {"milliseconds", 1000}}).at("ok"));
    const std::jthread flood([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            partners->command("START_ZEROIZE");
            std::this_thread::sleep_for(50ms);
        }
    });
    constexpr const char* kDeleted = "\nOrvaneServer : VapntsService exited\n";
    ASSERT_TRUE(desk.awaitOutput(kDeleted, 2));
    const auto deletions = desk.count(kDeleted);
    const auto start = std::chrono::steady_clock::now();
    expectEndInOrder();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    EXPECT_LE(desk.count(kDeleted), deletions + 3);  // that of the end, and one that began before it was looked at
    const std::string untaken = "OrvaneServer: Stopped. Orders to sanitize that were not carried out: ";
    EXPECT_THAT(desk.service().output(), testing::ContainsRegex("\n" + untaken + "([1-9]|10)\n"));
    expectNothingLeft();
}

/// A share of two hundred starts and ends; shares may run side by side.
struct CyclesSystemTest : EndSystemTest, testing::WithParamInterface<int> {};

TEST_P(CyclesSystemTest, TwentyFiveLeaveNothingBehind)
{
    for (int cycle = 0; cycle < 25; ++cycle) {
        desk.run().send(SIGTERM);
        ASSERT_EQ(desk.service().wait(), Ending({0, 0})) << cycle;
        ASSERT_TRUE(desk.service().output().ends_with(exitLine(15))) << cycle;
        ASSERT_EQ(desk.service().errors(), "") << cycle;
        ASSERT_EQ(entries("/dev/shm"), Names()) << cycle;
        ASSERT_EQ(entries("/tmp"), unitsFiles) << cycle;
        ASSERT_EQ(processes(), unitsProcesses) << cycle;
    }
}
INSTANTIATE_TEST_SUITE_P(OfTwoHundred, CyclesSystemTest, testing::Range(0, 8));
