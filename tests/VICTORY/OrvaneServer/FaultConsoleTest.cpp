#include "VICTORY/OrvaneServer/FaultConsole.h"

#include "tests/VICTORY/OrvaneServer/KeyPipe.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <string>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct FaultConsoleTest : testing::Test {
    FaultConsoleTest()
    {
        settings.m_victoryConfigurationFile = "config";
        victory.setFile("config", "<config/>");
        bus.start("<vcl/>");
        victory.forgetCalls();
    }

    /// What the console shows of the turns that take the keys.
    std::string press(const std::string& keys)
    {
        const ConsoleCapture output(std::cout);
        input.type(keys);
        for (std::size_t i = 0; i < keys.size(); ++i) console.turn();
        return output.text();
    }

    const KeyPipe input;
    ServerSettings settings;
    VictoryRecorder victory;
    BusService bus{settings, {[] {}, [] { return true; }, [](VapntsService*) {}}};
    FaultConsole console{"OrvaneServer", bus};
};

}  // namespace

TEST_F(FaultConsoleTest, TheSwitchTurnsTellingOffAndOnAgain)
{
    EXPECT_FALSE(console.isTellDisabled());
    press("z");
    EXPECT_TRUE(console.isTellDisabled());
    console.turn();
    EXPECT_TRUE(console.isTellDisabled());
    press("z");
    EXPECT_FALSE(console.isTellDisabled());
}

TEST_F(FaultConsoleTest, FaultsAreRaisedInTheRunningService)
{
    EXPECT_EQ(press("a1"), "OrvaneServer VictoryFaultHelper : APNT fault test mode\n"
                           "OrvaneServerAdded acknowledged Emergency\nAPNT Fault: 1\n");
    EXPECT_EQ(victory.last("vapntsAddFault").service, bus.service());
}

TEST_F(FaultConsoleTest, AServiceThatDoesNotRunIsNotThere)
{
    bus.stop();
    victory.forgetCalls();
    EXPECT_THAT(press("a"), HasSubstr("CANNOT change fault test mode to APNT Service! Mode remains: none.\n"));
    EXPECT_EQ(press("1"), "OrvaneServerAdded acknowledged Emergency\nnone. Fault: 0\n");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(FaultConsoleTest, FaultsEndWithTheirServiceAndAreRaisedAnewInTheNext)
{
    press("a1");
    bus.stop();
    bus.start("<vcl/>");
    victory.forgetCalls();
    EXPECT_EQ(press("1"), "OrvaneServerAdded acknowledged Emergency\nAPNT Fault: 2\n");
    EXPECT_EQ(victory.last("vapntsAddFault").service, bus.service());
    EXPECT_EQ(victory.count("vapntsRemoveFault"), 0U);
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}
