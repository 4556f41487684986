#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/NotifySocket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

using Ending = ChildProcess::Ending;
using namespace std::chrono_literals;

namespace {

/// A service whose manager is this test.
struct ServiceManagerSystemTest : testing::Test {
    /// Sends the inputs until the manager has been told of a join.
    bool awaitJoin(const Inputs& inputs) const
    {
        return inputs.waitForService() && eventually([&] {
                   inputs.sendAll();
                   return manager.next(1s).find("STATUS=Running, joins: ") == 0;
               });
    }

    /// Whether no sign of life comes for as long as the watchdog waits for one.
    bool staysAway() const
    {
        return eventually([&] {
            const auto start = std::chrono::steady_clock::now();
            std::string told = manager.next(kWatchdog);
            while (told.find("STATUS=") == 0) told = manager.next(kWatchdog);
            return told.empty() && std::chrono::steady_clock::now() - start >= kWatchdog;
        });
    }

    static constexpr std::chrono::seconds kWatchdog{2};
    const std::vector<std::string> watched = {"NOTIFY_SOCKET=/tmp/notify", "WATCHDOG_USEC=2000000"};
    Desk desk;
    const NotifySocket manager{"/tmp/notify"};
};

}  // namespace

TEST_F(ServiceManagerSystemTest, ManagerIsToldOfTheStartTheJoinsAndTheEnd)
{
    const Inputs inputs(desk);
    desk.start({"NOTIFY_SOCKET=/tmp/notify"});
    EXPECT_EQ(manager.next(30s), "STATUS=Starting");
    EXPECT_EQ(manager.next(30s), "READY=1\nSTATUS=Running, no join yet");
    EXPECT_TRUE(awaitJoin(inputs));
    desk.service().send(SIGTERM);
    EXPECT_TRUE(manager.await("STOPPING=1\nSTATUS=Stopping"));
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_EQ(manager.next(), "");
}

TEST_F(ServiceManagerSystemTest, AServiceThatDoesNotStartIsNeverReady)
{
    desk.setRegister(Desk::kClockRate, 1);
    desk.start({"NOTIFY_SOCKET=/tmp/notify"});
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGABRT}));
    EXPECT_EQ(manager.next(), "STATUS=Starting");
    EXPECT_EQ(manager.next(), "");
}

TEST_F(ServiceManagerSystemTest, SignsOfLifeComeUntilTheProcessIsStopped)
{
    desk.start(watched);
    EXPECT_TRUE(manager.await("READY=1"));
    for (int sign = 0; sign < 2; ++sign) EXPECT_EQ(manager.next(30s), "WATCHDOG=1");
    desk.service().send(SIGSTOP);
    EXPECT_TRUE(staysAway());
    desk.service().send(SIGCONT);
    EXPECT_TRUE(manager.await("WATCHDOG=1"));
}

TEST_F(ServiceManagerSystemTest, SignsOfLifeStayAwayWhileACallOfTheBusLibraryHangs)
{
    const Inputs inputs(desk);
    desk.start(watched);
    ASSERT_TRUE(manager.await("READY=1"));
    Bus bus;
    ASSERT_TRUE(awaitJoin(inputs));
    const auto ask = [&](Bus::Json request) { return bus.request(std::move(request)).at("ok") == true; };
    ASSERT_TRUE(ask({{"request", "hold-tell"}, {"tell", "blended-navigation"}, {"milliseconds", 60000}}));
    inputs.sendAll();
    bus.await("the tell to be held", [](const Bus::Json& line) { return line.value("type", "") == "held"; });
    EXPECT_TRUE(staysAway());
    ASSERT_TRUE(ask({{"request", "release-tell"}, {"tell", "blended-navigation"}}));
    EXPECT_TRUE(manager.await("WATCHDOG=1"));
}

TEST_F(ServiceManagerSystemTest, TheSignalOfAWatchdogEndsAServiceThatHangsAtOnce)
{
    // A sanitizer would take it itself.
    for (const char* options : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
        const char* others = std::getenv(options);
        setenv(options, (std::string(others ? others : "") + ":handle_segv=0").c_str(), 1);
    }
    desk.start({"NOTIFY_SOCKET=/tmp/notify"});
    ASSERT_TRUE(manager.await("READY=1"));
    desk.service().send(SIGSTOP);
    desk.service().send(SIGSEGV);
    desk.service().send(SIGCONT);
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGSEGV}));
}
