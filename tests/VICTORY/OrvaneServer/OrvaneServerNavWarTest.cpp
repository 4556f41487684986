#include "VICTORY/OrvaneServer/NavWarThreat.h"
#include "tests/VICTORY/OrvaneServer/ReceiverRecords.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/VICTORY/OrvaneServer/ThreatFrames.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/Meanwhile.h"
#include "tests/support/ValueAt.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace ThreatFrames;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

constexpr double kPi = 3.14159265358979323846;

GSSIP threatRecordOf(const std::vector<Line>& lines)
{
    return receiverRecordOf(threatFrameOf(lines));
}

struct NavWarTest : testing::Test {
    NavWarTest()
    {
        server.settings().m_gssipSourceServers = {39};
        victory.setFile("config", "<config/>");
        victory.setFile("vcl", "<vcl:VCL/>");
        server.useBusFiles("config", "vcl");
        server.startBus();
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

    /// What one line of a frame becomes.
    VapntcNavWarSaThreat threatOf(const Line& line)
    {
        server.toReceiver(threatRecordOf({line}));
        return published().threats[0];
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

TEST(NavWarThreatTest, ValuesFoldByOneMoreThanTheRange)
{
    struct Row {
        int value, low, high, folded;
    };
    constexpr Row rows[] = {{180, -180, 180, 180},   {-180, -180, 180, -180}, {181, -180, 180, -180},
                            {-181, -180, 180, 180},  {540, -180, 180, 179},   {-541, -180, 180, -180},
                            {32767, -180, 180, -84}, {-32768, -180, 180, 83}, {90, -90, 90, 90},
                            {91, -90, 90, -90},      {-91, -90, 90, 90},      {-272, -90, 90, 90},
                            {32767, -90, 90, 6},     {-32768, -90, 90, -7},   {0, 0, 32766, 0},
                            {-1, 0, 32766, 32766},   {32767, 0, 0, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(NormalizeInt16Value(static_cast<short>(row.value), static_cast<short>(row.low),
                                      static_cast<short>(row.high)),
                  row.folded)
            << row.value;
}

TEST(NavWarThreatTest, SpansBeyondSixteenBitsWrap)
{
    const HardDeadline deadline;
    constexpr short least = std::numeric_limits<short>::min();
    constexpr short most = std::numeric_limits<short>::max();
    EXPECT_EQ(NormalizeInt16Value(7, least, -1), -32761);
    EXPECT_EQ(NormalizeInt16Value(-1, 0, most), 32767);
    EXPECT_EQ(NormalizeInt16Value(7, 0, most), 7);
    EXPECT_EQ(NormalizeInt16Value(7, least, most), 7);
    EXPECT_EQ(NormalizeInt16Value(30000, -20000, 20000), -10001);
    EXPECT_EQ(NormalizeInt16Value(-30000, -20000, 20000), 10001);
}

TEST(NavWarThreatTest, BoundsInTheWrongOrderFoldByTheSameSumsWhereTheseEnd)
{
    const HardDeadline deadline;
    constexpr short least = std::numeric_limits<short>::min();
    constexpr short most = std::numeric_limits<short>::max();
    EXPECT_EQ(NormalizeInt16Value(7, 5, 3), least);
    EXPECT_EQ(NormalizeInt16Value(7, 5, 4), 7);
    EXPECT_EQ(NormalizeInt16Value(7, most, least), 7);
    EXPECT_EQ(NormalizeInt16Value(8, most, least), 8);
}

TEST_F(NavWarTest, ThreeBearingsAmongNineLinesMakeThreeThreatsInTheirOrder)
{
    std::vector<Line> lines(9);
    lines[1] = bearing(11);
    lines[4] = bearing(14);
    lines[8] = bearing(18);
    server.toReceiver(threatRecordOf(lines));
    EXPECT_THAT(centres(published()), ElementsAre(550000.0, 700000.0, 900000.0));
}

TEST_F(NavWarTest, AllNineLinesMayBeBearings)
{
    std::vector<Line> lines;
    for (std::uint16_t center = 1; center <= 9; ++center) lines.push_back(bearing(center));
    server.toReceiver(threatRecordOf(lines));
    EXPECT_EQ(published().threatCount, 9U);
}

TEST_F(NavWarTest, OtherStatesMakeNoThreatWhateverStandsBesideThem)
{
    for (const auto state : std::initializer_list<std::uint8_t>{0, 1, 3}) {
        const auto statusA = static_cast<std::uint8_t>(0xFC | state);
        server.toReceiver(threatRecordOf({{.statusA = statusA, .statusB = 0xFF}}));
    }
    EXPECT_THAT(server.threats(), IsEmpty());
    server.toReceiver(threatRecordOf({{.statusA = 0xFE, .statusB = 0xFF}}));
    EXPECT_EQ(server.threats().size(), 1U);
}

TEST_F(NavWarTest, ALineWithoutABearingMakesNoThreatAndNoWord)
{
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    server.toReceiver(threatRecordOf({{.statusA = kState, .statusB = 0xFE}}));
    EXPECT_THAT(server.threats(), IsEmpty());
    EXPECT_EQ(console.text(),
              "OrvaneServerOrvaneServer, processing Navwar SA from ThreatData (Line of Bearing) message\n");
}

TEST_F(NavWarTest, OnlyConfiguredSourcesOfReportsAreHeard)
{
    server.settings().m_gssipSourceServers = {38, 40};
    server.toReceiver(threatRecordOf({bearing(1)}));
    server.settings().m_gssipSourceServers.clear();
    server.toReceiver(threatRecordOf({bearing(1)}));
    EXPECT_THAT(server.threats(), IsEmpty());
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

TEST_F(NavWarTest, LayoutOfAThreatWithAllItsParts)
{
    UTCTime utcTime;
    utcTime.gps_week(2235);
    utcTime.gps_tow_sec(100);
    utcTime.utc_tod_sec(82);
    utcTime.utc_tod_nsec(2.5e8);
    server.deliver(utcTime);
    const auto threat = threatOf({.statusA = kState | kPowerValid | kBandwidthValid,
                                  .statusB = kBearing | kConfident | 3 << 2,
                                  .power = -57,
                                  .center = 31508,
                                  .bandwidth = 2046,
                                  .azimuth = -90,
                                  .elevation = 45});
    std::vector<std::uint8_t> expected(704);
    put(expected, 0, std::uint32_t{2});
    put(expected, 4, std::array<std::uint32_t, 8>{2022, 11, 6, 0, 0, 1, 22, 250'000'000});
    put(expected, 300, std::array<char, 10>{"TARVO-100"});
    put(expected, 556, std::uint32_t{1});
    put(expected, 560, -kPi / 2);
    put(expected, 568, std::uint32_t{1});
    put(expected, 576, 75.0);
    put(expected, 600, kPi / 4);
    put(expected, 608, std::uint32_t{1});
    put(expected, 616, 75.0);
    put(expected, 640, 1575.4e6);
    put(expected, 648, 2.046e6);
    put(expected, 688, -57.0);
    put(expected, 696, std::uint32_t{1});
    std::vector<std::uint8_t> bytes(704);
    std::memcpy(bytes.data(), &threat, bytes.size());
    EXPECT_EQ(bytes, expected);
}

TEST_F(NavWarTest, WhatALineDoesNotTellIsZeroAndThirtyThreeMegahertz)
{
    const auto threat = threatOf({.statusA = kState,
                                  .statusB = kBearing | 4 << 2,
                                  .power = 99,
                                  .center = 1,
                                  .bandwidth = 2046,
                                  .azimuth = 1,
                                  .elevation = 1});
    EXPECT_EQ(valueAt<double>(threat, 648), 33'000'000.0);
    EXPECT_EQ(valueAt<std::uint32_t>(threat, 568), 0U);
    EXPECT_EQ(valueAt<double>(threat, 576), 0.0);
    EXPECT_EQ(valueAt<std::uint32_t>(threat, 608), 0U);
    EXPECT_EQ(valueAt<double>(threat, 616), 0.0);
    EXPECT_EQ(valueAt<double>(threat, 688), 0.0);
    EXPECT_EQ(valueAt<std::uint32_t>(threat, 696), 0U);
}

TEST_F(NavWarTest, ConfidenceCountsInQuartersAndHasNoCeiling)
{
    for (const int quarters : {0, 4, 15}) {
        const auto statusB = static_cast<std::uint8_t>(0xC0 | kBearing | kConfident | quarters << 2);
        const auto threat = threatOf({.statusA = kState, .statusB = statusB});
        EXPECT_EQ(threat.azimuthConfidence, quarters * 25.0);
        EXPECT_EQ(threat.elevationConfidence, quarters * 25.0);
        EXPECT_EQ(threat.azimuthConfidenceValid, 1U);
        EXPECT_EQ(threat.elevationConfidenceValid, 1U);
    }
}

TEST_F(NavWarTest, LargestNumbersOfALine)
{
    const auto threat = threatOf({.statusA = kState | kPowerValid | kBandwidthValid,
                                  .statusB = kBearing,
                                  .power = -32768,
                                  .center = 65535,
                                  .bandwidth = 65535});
    EXPECT_EQ(threat.centreFrequency, 3'276'750'000.0);
    EXPECT_EQ(threat.bandwidth, 65'535'000.0);
    EXPECT_EQ(threat.power, -32768.0);
}

TEST_F(NavWarTest, AnglesAreFoldedBeforeTheyBecomeRadians)
{
    struct Row {
        std::int16_t azimuth, elevation;
        double azimuthDegrees, elevationDegrees;
    };
    for (const auto& row : {Row{180, 90, 180, 90}, Row{181, 91, -180, -90}, Row{-181, -91, 180, 90},
                            Row{540, 0, 179, 0}, Row{0, 271, 0, 90}}) {
        const auto threat =
            threatOf({.statusA = kState, .statusB = kBearing, .azimuth = row.azimuth, .elevation = row.elevation});
        EXPECT_DOUBLE_EQ(threat.azimuth, row.azimuthDegrees * kPi / 180);
        EXPECT_DOUBLE_EQ(threat.elevation, row.elevationDegrees * kPi / 180);
    }
}

TEST_F(NavWarTest, OfSixtyThreatsTheLastFiftyGoOutTheOldestFirst)
{
    for (std::uint16_t center = 1; center <= 60; ++center) server.toReceiver(threatRecordOf({bearing(center)}));
    EXPECT_EQ(server.threats().size(), 50U);
    const auto record = published();
    EXPECT_EQ(valueAt<std::uint32_t>(record, 0), 1U);
    EXPECT_EQ(valueAt<std::uint32_t>(record, 4), 0U);
    for (std::size_t i = 0; i < 50; ++i)
        EXPECT_EQ(valueAt<double>(record, 8 + 704 * i + 640), 50000.0 * static_cast<double>(11 + i)) << i;
    EXPECT_EQ(valueAt<std::uint32_t>(record, 35208), 50U);
}

TEST_F(NavWarTest, EachThreatGoesOutOnceAndAnEmptyQueueIsToldToo)
{
    server.toReceiver(threatRecordOf({bearing(1), bearing(2)}));
    EXPECT_EQ(published().threatCount, 2U);
    server.toReceiver(threatRecordOf({bearing(3)}));
    EXPECT_THAT(centres(published()), ElementsAre(150000.0));

    const VapntcNavWarSaRecord empty = {};
    const auto record = published();
    EXPECT_EQ(std::memcmp(&record, &empty, sizeof empty), 0);
    EXPECT_EQ(victory.count("vapntsTellNavWarSaData"), 3U);
}

TEST_F(NavWarTest, TheRecordGoesToTheServiceThatAskedWithoutATime)
{
    publish();
    const auto call = victory.last("vapntsTellNavWarSaData");
    EXPECT_EQ(call.service, server.busService());
    EXPECT_EQ(call.time(), nullptr);
}

TEST_F(NavWarTest, WhileTheServiceIsDownThreatsStayAndGoOutAfterwards)
{
    server.toReceiver(threatRecordOf({bearing(1)}));
    server.stopBus();
    popHealthEvents();
    const ConsoleCapture console(std::cout);
    publish();
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer : Cannot publish NavWarSA threats while APNT service is "
                                               "not running! Threats remain queued."));
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), cbTellNavWarSaCallback : OrvaneServer : "
                                              "Cannot publish NavWarSA threats while APNT service is not running! "
                                              "Threats remain queued\\.\n$"));
    EXPECT_EQ(victory.count("vapntsTellNavWarSaData"), 0U);
    server.startBus();
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

TEST_F(NavWarTest, AFailureOfTheEncodingNamesAnotherOperation)
{
    const auto frame = threatRecordOf({bearing(1)});
    const ConsoleCapture console(std::cout);
    {
        const FailingAllocation memory(0, 1);
        server.toReceiver(frame);
    }
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: An exception occurred. Details: std::bad_alloc");
    EXPECT_THAT(console.text(), ContainsRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : An "
                                              "exception occurred in attemptBlendedNavigationProcessing\\. Details: "
                                              "OrvaneServer: An exception occurred\\. Details: std::bad_alloc\n"));
    EXPECT_THAT(server.threats(), IsEmpty());
}

TEST_F(NavWarTest, WhatIsNoStandardExceptionInTheEncodingIsUnknown)
{
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    const BeforeNextLine failure([] { throw 1; });
    server.toReceiver(threatRecordOf({bearing(1)}));
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown c++ exception in attemptBlendedNavigationProcessing"));
    EXPECT_THAT(console.text(),
                testing::MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : OrvaneServer: "
                                      "Unknown c\\+\\+ exception in attemptBlendedNavigationProcessing\n"));
}

TEST_F(NavWarTest, NoThreatIsQueuedWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    Meanwhile arrival([&] { server.toReceiver(threatRecordOf({bearing(1)})); });
    victory.onCall("vapntsTellNavWarSaData", [&] { EXPECT_FALSE(arrival.isOverWithin(100ms)); });
    publish();
    arrival.join();
    EXPECT_EQ(server.threats().size(), 1U);
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

TEST_F(NavWarTest, DebugLinesShowDegreesAsReceivedAndRadiansAsFolded)
{
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    server.toReceiver(threatRecordOf({{.statusA = kState, .statusB = kBearing, .azimuth = 181, .elevation = 91}}));
    EXPECT_THAT(console.text(), HasSubstr("\nAz             = 181 deg, -3.14159\n"));
    EXPECT_THAT(console.text(), HasSubstr("\nEl             = 91 deg, -1.5708\n"));
}

TEST_F(NavWarTest, DebugLinesTellTheReportAndEachThreat)
{
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    server.toReceiver(threatRecordOf({{.statusA = kState | kPowerValid | kBandwidthValid,
                                       .statusB = kBearing | kConfident | 4 << 2,
                                       .power = -57,
                                       .center = 20,
                                       .bandwidth = 5,
                                       .azimuth = 180,
                                       .elevation = -90}}));
    EXPECT_THAT(console.text(),
                ContainsRegex("^OrvaneServerOrvaneServer, processing Navwar SA from ThreatData \\(Line of Bearing\\) "
                              "message\n"
                              "OrvaneServer: , encodeVictoryNavWarSA: Encoding Navwar SA from ThreatData \\(Line of "
                              "Bearing\\) message data\n"
                              "OrvaneServerencodeVictoryNavWarSA \\([0-9]+\\), threat detail:\n"
                              "\n"
                              "GPS Time       = 3456\\.5\n"
                              "lat            = 45\\.25\n"
                              "lon            = -93\\.5\n"
                              "alt            = 300\\.75\n"
                              "Pos_Accuracy   = 12\n"
                              "Az             = 180 deg, 3\\.14159\n"
                              "Az Conf \\(0-100\\)= 100\n"
                              "El             = -90 deg, -1\\.5708\n"
                              "El Conf \\(0-100\\)= 100\n"
                              "Center         = 1e\\+06\n"
                              "BW             = 5000\n"
                              "Power          = -57\n$"));
}

TEST_F(NavWarTest, DebugLineOfAPublicationTellsTheNumberUnlessThereIsNone)
{
    server.toReceiver(threatRecordOf({bearing(1), bearing(2)}));
    server.settings().m_debug = true;
    const ConsoleCapture console(std::cout);
    publish();
    publish();
    EXPECT_EQ(console.text(), "OrvaneServer : sending NavWarSa data to VDB. Number of threats: 2\n");
}

TEST_F(NavWarTest, TheTimeOfAThreatIsShownUnlessQuiet)
{
    server.settings().m_quiet = false;
    const ConsoleCapture console(std::cout);
    server.toReceiver(threatRecordOf({bearing(1)}));
    EXPECT_THAT(console.text(), ContainsRegex("OrvaneServer, set_VictoryTime \\([0-9]+\\) "));
    EXPECT_THAT(console.text(), Not(HasSubstr("threat detail")));
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

    for (std::uint16_t round = 1; round <= 3; ++round) {
        server.toReceiver(threatRecordOf({bearing(round)}));
        status.data()[8] = static_cast<std::uint8_t>(round);
        server.fromReceiver(status);
        server.fromReceiver(warning);
        EXPECT_EQ(server.inputs().latestReceiver().data(), status.data());
        EXPECT_EQ(server.warnings().size(), round);
        EXPECT_EQ(server.threats().size(), round);
    }
}
