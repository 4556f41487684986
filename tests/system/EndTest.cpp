#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <set>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using Ending = ChildProcess::Ending;
using Names = std::set<std::string>;

namespace {

Names entries(const fs::path& directory)
{
    Names names;
    for (const auto& entry : fs::directory_iterator(directory)) names.insert(entry.path().filename());
    return names;
}

/// The processes of the unit, by id. Nothing but this test and what it has started lives here.
Names processes()
{
    Names ids;
    for (const std::string& name : entries("/proc"))
        if (name.find_first_not_of("0123456789") == std::string::npos) ids.insert(name);
    return ids;
}

/// A service that talks over shared memory, of which it is to leave nothing.
struct EndSystemTest : testing::Test {
    // The project itself may be seen there.
    const Names unitsFiles = entries("/tmp");

    EndSystemTest() { desk.replace("Connections.xml", "<UseTransport>UDP<", "<UseTransport>SHM<"); }

    static std::string exitLine(int signal)
    {
        return "!!!!!! " ORVANE_SERVER_BINARY " has exited. Signal: " + std::to_string(signal) + "\n";
    }

    Desk desk;
};

}  // namespace

TEST_F(EndSystemTest, RunningServiceLeavesNothingBehind)
{
    const Names before = processes();
    desk.run();
    ASSERT_NE(entries("/dev/shm"), Names());  // there is something to be left
    ASSERT_TRUE(fs::is_socket("/tmp/bus"));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_TRUE(desk.service().output().ends_with(exitLine(15))) << desk.service().output();
    EXPECT_EQ(desk.service().errors(), "");
    EXPECT_EQ(entries("/dev/shm"), Names());
    EXPECT_EQ(entries("/tmp"), unitsFiles);
    EXPECT_EQ(processes(), before);
}

TEST_F(EndSystemTest, ServiceWithAClientAndInputsEndsInOrder)
{
    desk.replace("Connections.xml", "<UseTransport>SHM<", "<UseTransport>UDP<");
    desk.run();
    Bus bus;
    Inputs inputs(desk);
    ASSERT_TRUE(inputs.waitForService());
    inputs.sendAll();
    bus.awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_TRUE(desk.service().output().ends_with(exitLine(15)));
}

TEST_F(EndSystemTest, SignalWhileItConnectsTakesItsDefaultAction)
{
    desk.letGo(6);  // the service waits for somebody to open the other end
    desk.start();
    ASSERT_TRUE(eventually([&] { return desk.isOpenByService("/dev/mcs5"); }));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGTERM}));
    EXPECT_EQ(desk.count("has exited"), 0U);
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
    EXPECT_EQ(entries("/dev/shm"), Names());
}

/// A share of two hundred starts and ends; shares may run side by side.
struct CyclesSystemTest : EndSystemTest, testing::WithParamInterface<int> {};

TEST_P(CyclesSystemTest, TwentyFiveLeaveNothingBehind)
{
    const Names before = processes();
    for (int cycle = 0; cycle < 25; ++cycle) {
        desk.run().send(SIGTERM);
        ASSERT_EQ(desk.service().wait(), Ending({0, 0})) << cycle;
        ASSERT_TRUE(desk.service().output().ends_with(exitLine(15))) << cycle;
        ASSERT_EQ(desk.service().errors(), "") << cycle;
        ASSERT_EQ(entries("/dev/shm"), Names()) << cycle;
        ASSERT_EQ(entries("/tmp"), unitsFiles) << cycle;
        ASSERT_EQ(processes(), before) << cycle;
    }
}
INSTANTIATE_TEST_SUITE_P(OfTwoHundred, CyclesSystemTest, testing::Range(0, 8));
