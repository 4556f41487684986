#include "tests/support/Desk.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Inputs.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <string>

using Ending = ChildProcess::Ending;

namespace {

/// A service of which the system refuses a call.
struct RefusedCallsSystemTest : testing::Test {
    /// Its own calls fail, once they are armed.
    void plan(const std::string& lines) { calls.emplace("only caller OrvaneServer\n" + lines); }

    void startArmed(const std::string& lines)
    {
        plan(lines);
        calls->arm();
        desk.start(FailingCalls::environment());
    }

    void expectEndInOrder()
    {
        desk.service().send(SIGTERM);
        EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    }

    Desk desk;
    std::optional<FailingCalls> calls;
};

}  // namespace

TEST_F(RefusedCallsSystemTest, QueuesThatCantBeWaitedForAreToldAndTheServiceGoesOn)
{
    startArmed("fail poll 1 on errno ENOMEM\n");
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    EXPECT_TRUE(eventually([&] {
        return desk.service().errors().find("The queues are read no more, waiting for their input failed: "
                                            "Cannot allocate memory\n") != std::string::npos;
    }));
    expectEndInOrder();
}

TEST_F(RefusedCallsSystemTest, APrintOfTheLibraryThatCantBeCapturedIsTold)
{
    startArmed("fail fopen 2 on\n");  // the first one is that of the C library's standard error
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    EXPECT_TRUE(desk.awaitOutput("InitializeVictory : OrvaneServer Error capturing what the VICTORY library prints."));
    expectEndInOrder();
}

TEST_F(RefusedCallsSystemTest, ABusThatCanNotBeWokenEndsAllTheSame)
{
    calls.emplace("only caller libvictory\nonly path [eventfd]\nfail write 1 on\n");
    desk.start(FailingCalls::environment());
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    const Bus bus;
    calls->arm();
    expectEndInOrder();
    EXPECT_GT(calls->failed(), 0U);
}

TEST_F(RefusedCallsSystemTest, AMessageForWhichThereIsNoMemoryIsLostAndTheNextOneIsTaken)
{
    const Inputs inputs(desk);
    plan("fail malloc 1 on\n");
    desk.start(FailingCalls::environment());
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    Bus bus;
    ASSERT_TRUE(inputs.waitForService());

    calls->arm();
    inputs.sendPva();
    EXPECT_TRUE(eventually([&] { return calls->failed() > 0; }));
    inputs.sendAll();
    inputs.sendReceiver();
    EXPECT_TRUE(desk.waitUntilTaken(5));
    calls->disarm();

    inputs.sendAll();
    inputs.sendReceiver();
    EXPECT_NO_THROW(bus.awaitTell("blended-navigation",
                                  [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); }));
    expectEndInOrder();
}
