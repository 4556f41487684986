#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ReceiverRecords.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/VICTORY/OrvaneServer/WarningFrames.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ValueAt.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace aspn2_msgs::idl;

namespace {

struct OrvaneServerWarningsTest : testing::Test {
    OrvaneServerWarningsTest()
    {
        BusFiles::giveTo(victory);
        server.settings().m_gssipSourceServers = {39};
        server.bus().start(nullptr);  // which builds the table
        server.run();
        popHealthEvents();
    }
    ~OrvaneServerWarningsTest() override { server.bus().stop(); }

    void receive(std::uint16_t number, const std::string& text = "")
    {
        server.fromReceiver(receiverRecordOf(warningFrameOf(number, text)));
    }

    void publish() { server.busLibrary().tellWarnings(); }

    VapntcWarningMessagesRecord published()
    {
        publish();
        return victory.last("vapntsTellWarningMessagesData").record<VapntcWarningMessagesRecord>();
    }

    std::vector<std::uint32_t> ids() { return warningIdsOf(published()); }

    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(OrvaneServerWarningsTest, AnEmptyListIsToldWithTheGpsSeconds)
{
    UTCTime time;
    time.gps_tow_sec(345600);
    time.gps_tow_nsec(2.5e8);
    server.deliver(time);
    const auto record = published();
    EXPECT_EQ(valueAt<double>(record, 0), 345600.25);
    VapntcWarningMessagesRecord expected = {};
    expected.gpsSeconds = 345600.25;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
    const auto call = victory.last("vapntsTellWarningMessagesData");
    EXPECT_EQ(call.service, server.bus().service());
    EXPECT_EQ(call.time(), nullptr);
}

TEST_F(OrvaneServerWarningsTest, WhileTheServiceIsDownWarningsStayAndEveryTurnIsAnEvent)
{
    receive(7);
    server.bus().stop();
    popHealthEvents();
    const ConsoleCapture console(std::cout);
    publish();
    publish();
    const auto events = popHealthEvents();
    EXPECT_EQ(events.size(), 2U);
    EXPECT_THAT(events, Each("3:OrvaneServer : Cannot publish warnings while APNT service is not running! Warnings "
                             "remain queued."));
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), cbTellWarningMessagesCallback : "
                                              "OrvaneServer : Cannot publish warnings while APNT service is not "
                                              "running! Warnings remain queued\\.\n"));
    EXPECT_EQ(victory.count("vapntsTellWarningMessagesData"), 0U);
    server.bus().start(nullptr);
    EXPECT_THAT(ids(), ElementsAre(5));
}

TEST_F(OrvaneServerWarningsTest, WithoutAContextThereIsAnEventAndALine)
{
    victory.forgetCalls();
    const ConsoleCapture console(std::cout);
    ServerDoor::libraryWithoutContext().tellWarnings();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData parameter"));
    EXPECT_THAT(console.text(), HasSubstr("cbTellWarningMessagesCallback : OrvaneServer: instance pointer was not "
                                          "found in VICTORY callbackData parameter\n"));
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(OrvaneServerWarningsTest, NothingLeavesThePublication)
{
    victory.onCall("vapntsTellWarningMessagesData", [] { throw std::runtime_error("no luck"); });
    const ConsoleCapture console(std::cout);
    publish();
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: An exception occurred. Details: no luck");
    victory.onCall("vapntsTellWarningMessagesData", [] { throw 1; });
    publish();
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: Unknown c++ exception occurred");
    EXPECT_THAT(console.text(), ContainsRegex("cbTellWarningMessagesCallback : OrvaneServer: An exception occurred. "
                                              "Details: no luck\n.*cbTellWarningMessagesCallback : OrvaneServer: "
                                              "Unknown c\\+\\+ exception occurred\n"));
}
