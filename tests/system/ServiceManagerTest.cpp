#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/NotifySocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>

using Ending = ChildProcess::Ending;
using namespace std::chrono_literals;
using testing::HasSubstr;

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
