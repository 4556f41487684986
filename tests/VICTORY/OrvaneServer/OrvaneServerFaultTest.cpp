#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/KeyPipe.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <pty.h>
#include <string>
#include <termios.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct FaultTest : testing::Test {
    FaultTest()
    {
        BusFiles::giveTo(victory);
        server.bus().start(nullptr);
        victory.forgetCalls();
    }
    ~FaultTest() override { server.bus().stop(); }

    /// What the console shows of the turns that take the keys.
    std::string press(const std::string& keys)
    {
        const ConsoleCapture console(std::cout);
        input.type(keys);
        for (std::size_t i = 0; i < keys.size(); ++i) server->checkForFaultTestEvents();
        return console.text();
    }

    KeyPipe input;
    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(FaultTest, TheWorkerLooksForKeysInTestModeAlone)
{
    const auto isTold = [this] {
        victory.forgetCalls();
        victory.fireTell(VAPNTS_PUB_GROUP_WARNING_MESSAGES);
        return victory.count("vapntsTellWarningMessagesData") == 1;
    };
    input.type("z");
    server.turn();
    EXPECT_TRUE(isTold());
    server.settings().m_testMode = true;
    server.turn();
    EXPECT_FALSE(isTold());
    server.turn();
    EXPECT_FALSE(isTold());
}

TEST_F(FaultTest, OutsideOfTestModeTheTerminalIsLeftAlone)
{
    int master = -1;
    int slave = -1;
    ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    ASSERT_EQ(dup2(slave, STDIN_FILENO), STDIN_FILENO);  // until the pipe's end puts back what was there
    server.turn();
    termios settings = {};
    ASSERT_EQ(tcgetattr(slave, &settings), 0);
    EXPECT_NE(settings.c_lflag & ICANON, 0U);
    close(master);
    close(slave);
}

TEST_F(FaultTest, AFailedConnectionOffersTheServiceThatRunsAllTheSame)
{
    server.settings().m_connectionsFile = server.settings().m_ioDevicesFile = "none";
    auto rc = FACE::RETURN_CODE_TYPE::NO_ERROR;
    const ConsoleCapture console(std::cout);
    server->Framework_Connect("none", rc);
    EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::INVALID_CONFIG);
    input.type("a");
    server->checkForFaultTestEvents();
    EXPECT_THAT(console.text(), testing::EndsWith(" VictoryFaultHelper : APNT fault test mode\n"));
}

TEST_F(FaultTest, TheSwitchLeavesOutTheGroupsUntilItIsPressedAgain)
{
    press("z");
    victory.fireTell(VAPNTS_PUB_GROUP_WARNING_MESSAGES);
    victory.fireTell(VAPNTS_PUB_GROUP_NAVWAR_SA);
    EXPECT_THAT(victory.operations(), IsEmpty());
    press("z");
    victory.fireTell(VAPNTS_PUB_GROUP_WARNING_MESSAGES);
    victory.fireTell(VAPNTS_PUB_GROUP_NAVWAR_SA);
    EXPECT_THAT(victory.operations(), ElementsAre("vapntsTellWarningMessagesData", "vapntsTellNavWarSaData"));
}

TEST_F(FaultTest, FaultsAreRaisedInTheRunningService)
{
    EXPECT_EQ(press("a1"), "OrvaneServer VictoryFaultHelper : APNT fault test mode\n"
                           "OrvaneServerAdded acknowledged Emergency\nAPNT Fault: 1\n");
    EXPECT_EQ(victory.last("vapntsAddFault").service, server.bus().service());
}

TEST_F(FaultTest, OtherServicesAreNotThere)
{
    EXPECT_THAT(press("p"), HasSubstr("CANNOT change fault test mode to Position Service! Mode remains: none.\n"));
}

TEST_F(FaultTest, AServiceThatDoesNotRunIsNotThere)
{
    server.bus().stop();
    victory.forgetCalls();
    EXPECT_THAT(press("a"), HasSubstr("CANNOT change fault test mode to APNT Service! Mode remains: none.\n"));
    EXPECT_EQ(press("1"), "OrvaneServerAdded acknowledged Emergency\nnone. Fault: 0\n");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(FaultTest, FaultsEndWithTheirServiceAndAreRaisedAnewInTheNext)
{
    press("a1");
    server.bus().stop();
    server.bus().start(nullptr);
    victory.forgetCalls();
    EXPECT_EQ(press("1"), "OrvaneServerAdded acknowledged Emergency\nAPNT Fault: 2\n");
    EXPECT_EQ(victory.last("vapntsAddFault").service, server.bus().service());
    EXPECT_EQ(victory.count("vapntsRemoveFault"), 0U);
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}
