#include "ASPN/CmdResponseStrings.h"
#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* kOffer = "vapntsInitTellExecuteBuiltInTestsCallback";
constexpr const char* kSent = "3:OrvaneServer: Could not publish CommandResponse for TOV = 0, REQUEST_PARTNUMBERS";

/// Without a transport a command that is sent shows as an event, `kSent`.
struct OrvaneServerPartNumbersTest : testing::Test {
    OrvaneServerPartNumbersTest()
    {
        BusFiles::giveTo(victory);
        server.bus().start(nullptr);
        victory.forgetCalls();
        server.run();
        popHealthEvents();
    }
    ~OrvaneServerPartNumbersTest() override { server.bus().stop(); }

    VapntcSystemConfiguration told() const
    {
        return victory.last("vapntsTellSystemConfiguration").record<VapntcSystemConfiguration>();
    }

    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(OrvaneServerPartNumbersTest, FirstTurnAfterTheFlagFileSends)
{
    const TemporaryDirectory directory;
    server.settings().m_flagDirectory = directory.path().string();
    server.turn();
    EXPECT_EQ(victory.count(kOffer), 0U);
    Sys::announcePostComplete(directory.path().string());
    server.turn();
    EXPECT_EQ(victory.count(kOffer), 1U);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    server.turn();
    EXPECT_THAT(popHealthEvents(), ElementsAre(kSent));
    server.turn();
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(OrvaneServerPartNumbersTest, BuiltInTestsAreOfferedOnceAndNotBeforeTheFlagFile)
{
    const TemporaryDirectory directory;
    server.settings().m_flagDirectory = directory.path().string();
    server.turn();
    EXPECT_THAT(victory.operations(), IsEmpty());
    Sys::announcePostComplete(directory.path().string());
    for (int i = 0; i < 3; ++i) server.turn();
    EXPECT_THAT(victory.operations(),
                ElementsAre("vapntsInitTellExecuteBuiltInTestsCallback", "vapntsInitTellGetBuiltInTestResultsCallback",
                            "vapntsInitTellClearBuiltInTestResultsCallback"));
    for (const auto& call : victory.calls()) EXPECT_EQ(call.pointer(0), &server.builtInTests()) << call.operation;
}

TEST_F(OrvaneServerPartNumbersTest, TheFlagIsNeverTakenBack)
{
    {
        const TemporaryDirectory directory;
        server.settings().m_flagDirectory = directory.path().string();
        Sys::announcePostComplete(directory.path().string());
        server.turn();
    }
    server.turn();
    EXPECT_THAT(popHealthEvents(), ElementsAre(kSent));
}

TEST_F(OrvaneServerPartNumbersTest, UntilAllIsThereTheNameSaysThatItIsBeingCollected)
{
    aspn2_msgs::idl::CommandResponse answer;
    answer.header().device_id(49 << 16);
    answer.command_response("PARTNUMBERS");
    server.response(answer);
    EXPECT_STREQ(told().systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_STREQ(told().systemSerialNumber, "N/A");
    EXPECT_EQ(told().componentCount, 1);
    server.collectPartNumbers();
    EXPECT_STREQ(told().systemName, "Kolt Gen II");
    EXPECT_EQ(std::memcmp(told().manufacturerCode, "9XQ27", 5), 0);
    EXPECT_EQ(told().manufacturerCodePresent, 1U);
    EXPECT_EQ(victory.last("vapntsTellSystemConfiguration").service, server.bus().service());
}
