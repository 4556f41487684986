#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/ReceiverRecords.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/VICTORY/OrvaneServer/ThreatFrames.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/Meanwhile.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <vector>

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace ThreatFrames;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

GSSIP threatRecordOf(const std::vector<Line>& lines)
{
    return receiverRecordOf(threatFrameOf(lines));
}

struct NavWarTest : testing::Test {
    NavWarTest()
    {
        server.settings().m_gssipSourceServers = {39};
        BusFiles::giveTo(victory);
        server.bus().start(nullptr);
        victory.forgetCalls();
        server.run();
        popHealthEvents();
    }

    void publish() { server.busLibrary().tellThreats(); }

    VapntcNavWarSaRecord published()
    {
        publish();
        return victory.last("vapntsTellNavWarSaData").record<VapntcNavWarSaRecord>();
    }

    std::vector<double> centres(const VapntcNavWarSaRecord& record)
    {
        std::vector<double> found;
        for (std::uint32_t i = 0; i < record.threatCount; ++i) found.push_back(record.threats[i].centreFrequency);
        return found;
    }

    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(NavWarTest, OnlyConfiguredSourcesOfReportsAreHeard)
{
    server.settings().m_gssipSourceServers = {38, 40};
    server.toReceiver(threatRecordOf({bearing(1)}));
    server.settings().m_gssipSourceServers.clear();
    server.toReceiver(threatRecordOf({bearing(1)}));
    EXPECT_THAT(server.threats(), IsEmpty());
}

TEST_F(NavWarTest, AReportAsksForNoMemory)
{
    const auto record = threatRecordOf(std::vector<Line>(9, bearing(1)));
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        server.toReceiver(record);
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0U);
    EXPECT_EQ(server.threats().size(), 9U);
}

TEST_F(NavWarTest, AReportThatComesWhileStoppedMakesNoThreatLater)
{
    server.halt();
    server.toReceiver(threatRecordOf({bearing(1)}));
    server.run();
    server.toReceiver(threatRecordOf({bearing(2)}));
    EXPECT_THAT(centres(published()), ElementsAre(100000.0));
}

TEST_F(NavWarTest, OfTheLengthOfAReportTheLowSixteenBitsCount)
{
    auto message = threatRecordOf({bearing(1)});
    message.data().resize(65536 + 212);
    message.num_bytes(65536 + 212);
    server.toReceiver(message);
    EXPECT_EQ(server.threats().size(), 1U);
}

TEST_F(NavWarTest, AReportWhoseLengthIsNotToBeBelievedIsDropped)
{
    for (const int length : {-1, 0, 3, 213, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        auto message = threatRecordOf({bearing(1)});
        message.num_bytes(length);
        server.toReceiver(message);
        EXPECT_THAT(server.threats(), IsEmpty()) << length;
    }
}

TEST_F(NavWarTest, TheRecordGoesToTheServiceThatAskedWithoutATime)
{
    publish();
    const auto call = victory.last("vapntsTellNavWarSaData");
    EXPECT_EQ(call.service, server.bus().service());
    EXPECT_EQ(call.time(), nullptr);
}

TEST_F(NavWarTest, WhileTheServiceIsDownThreatsStayAndGoOutAfterwards)
{
    server.toReceiver(threatRecordOf({bearing(1)}));
    server.bus().stop();
    popHealthEvents();
    const ConsoleCapture console(std::cout);
    publish();
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer : Cannot publish NavWarSA threats while APNT service is "
                                               "not running! Threats remain queued."));
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), cbTellNavWarSaCallback : OrvaneServer : "
                                              "Cannot publish NavWarSA threats while APNT service is not running! "
                                              "Threats remain queued\\.\n$"));
    EXPECT_EQ(victory.count("vapntsTellNavWarSaData"), 0U);
    server.bus().start(nullptr);
    EXPECT_THAT(centres(published()), ElementsAre(50000.0));
}

TEST_F(NavWarTest, WithoutAContextThereIsAnEventAndALine)
{
    const ConsoleCapture console(std::cout);
    ServerDoor::libraryWithoutContext().tellThreats();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData parameter"));
    EXPECT_THAT(console.text(), HasSubstr("cbTellNavWarSaCallback : OrvaneServer: instance pointer was not found in "
                                          "VICTORY callbackData parameter\n"));
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(NavWarTest, NothingLeavesThePublicationAndNothingIsPutBack)
{
    server.toReceiver(threatRecordOf({bearing(1)}));
    victory.onCall("vapntsTellNavWarSaData", [] { throw std::runtime_error("no luck"); });
    const ConsoleCapture console(std::cout);
    publish();
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: An exception occurred. Details: no luck");
    victory.onCall("vapntsTellNavWarSaData", [] { throw 1; });
    publish();
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: Unknown c++ exception occurred");
    EXPECT_THAT(console.text(),
                ContainsRegex("cbTellNavWarSaCallback : OrvaneServer: An exception occurred. Details: no luck\n"
                              ".*cbTellNavWarSaCallback : OrvaneServer: Unknown c\\+\\+ exception occurred\n"));
    EXPECT_THAT(server.threats(), IsEmpty());
    victory.onCall("vapntsTellNavWarSaData", nullptr);
    EXPECT_EQ(published().threatCount, 0U);
}

TEST_F(NavWarTest, TheTimeOfAThreatIsNotReplacedWhileItIsConverted)
{
    const HardDeadline deadline;
    Meanwhile replacement([&] { server.deliver(UTCTime()); });
    const ConsoleCapture console(std::cout);
    const BeforeNextLine timeIsPrinted([&] { EXPECT_FALSE(replacement.isOverWithin(100ms)); });
    server.settings().m_quiet = false;
    server.toReceiver(threatRecordOf({bearing(1)}));
    ASSERT_TRUE(replacement.hasBegun());
    replacement.join();
}

TEST_F(NavWarTest, BothTapsGoOnBehindThreats)
{
    const HardDeadline deadline;
    GSSIP status;
    status.header().device_id(0x01270000);
    status.data({0xFF, 0x81, 0x38, 0x21, 0, 0, 0, 0, 0, 0});
    status.num_bytes(10);
    std::vector<std::uint8_t> bytes = {0xFF, 0x81, 0xB4, 0x13, 0x15, 0x00, 0x00, 0x90};
    bytes.resize(54);
    GSSIP warning = status;
    warning.data(bytes);
    warning.num_bytes(54);

    server.settings().m_quiet = false;
    for (std::uint16_t round = 1; round <= 3; ++round) {
        const ConsoleCapture console(std::cout);
        server.toReceiver(threatRecordOf({bearing(round)}));
        server.fromReceiver(status);
        server.fromReceiver(warning);
        EXPECT_THAT(console.text(), HasSubstr("cbZentorGssip: Processed GSSIP: 8504 from ZentorM\n"));
        EXPECT_EQ(server.warnings().size(), round);
        EXPECT_EQ(server.threats().size(), round);
    }
}
