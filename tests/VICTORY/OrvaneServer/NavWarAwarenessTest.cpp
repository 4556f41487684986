#include "VICTORY/OrvaneServer/NavWarAwareness.h"
#include "tests/VICTORY/OrvaneServer/ThreatFrames.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/Meanwhile.h"
#include "tests/support/ValueAt.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using namespace ThreatFrames;
using namespace std::chrono_literals;

namespace {

constexpr bool kStarted = true;
constexpr bool kTellDisabled = true;

struct NavWarAwarenessTest : testing::Test {
    bool receive(const std::vector<Line>& lines)
    {
        EXPECT_TRUE(awareness.take(threatFrameOf(lines)));
        return awareness.process();
    }

    void publish() { awareness.publish(service, kStarted, !kTellDisabled); }

    VapntcNavWarSaRecord published()
    {
        publish();
        return victory.last("vapntsTellNavWarSaData").record<VapntcNavWarSaRecord>();
    }

    /// The centre frequencies of what is published now, in MHz.
    std::vector<double> centres()
    {
        const auto record = published();
        std::vector<double> found;
        for (std::uint32_t i = 0; i < record.threatCount; ++i)
            found.push_back(record.threats[i].centreFrequency * 1e-6);
        return found;
    }

    VictoryRecorder victory;
    VapntsService* service = victory.newService();
    ServerSettings settings;
    LatestTime time;
    NavWarAwareness awareness{settings, time};
};

}  // namespace

TEST_F(NavWarAwarenessTest, LinesOfBearingBecomeThreatsInTheirOrder)
{
    std::vector<Line> lines(9);
    lines[1] = bearing(20);
    lines[4] = bearing(40);
    lines[8] = bearing(60);
    EXPECT_TRUE(receive(lines));
    EXPECT_THAT(centres(), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(NavWarAwarenessTest, WhatTheLibraryPrintsWhileItIsToldMayReachTheReporters)
{
    RankedMutex<LockRank::Reporters> reporters;
    victory.onCall("vapntsTellNavWarSaData", [&] { const MutexLock lock(reporters); });
    publish();
    EXPECT_EQ(victory.count("vapntsTellNavWarSaData"), 1U);
}

TEST_F(NavWarAwarenessTest, AReportWithoutABearingMakesNoThreat)
{
    EXPECT_FALSE(receive({{.statusA = kState, .statusB = 0xFE}, {.statusA = 0xFD, .statusB = 0xFF}}));
    EXPECT_THAT(centres(), IsEmpty());
}

TEST_F(NavWarAwarenessTest, AllNineLinesMayBeBearings)
{
    std::vector<Line> lines;
    for (std::uint16_t center = 1; center <= 9; ++center) lines.push_back(bearing(center));
    EXPECT_TRUE(receive(lines));
    EXPECT_EQ(published().threatCount, 9U);
}

TEST_F(NavWarAwarenessTest, OtherStatesMakeNoThreatWhateverStandsBesideThem)
{
    for (const auto state : std::initializer_list<std::uint8_t>{0, 1, 3}) {
        const auto statusA = static_cast<std::uint8_t>(0xFC | state);
        EXPECT_FALSE(receive({{.statusA = statusA, .statusB = 0xFF}}));
    }
    EXPECT_TRUE(receive({{.statusA = 0xFE, .statusB = 0xFF}}));
}

TEST_F(NavWarAwarenessTest, ALineWithoutABearingMakesNoThreatAndNoWord)
{
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    EXPECT_FALSE(receive({{.statusA = kState, .statusB = 0xFE}}));
    EXPECT_EQ(console.text(),
              "OrvaneServerOrvaneServer, processing Navwar SA from ThreatData (Line of Bearing) message\n");
}

TEST_F(NavWarAwarenessTest, AThreatHasTheLatestTime)
{
    aspn2_msgs::idl::UTCTime message;
    message.gps_week(2235);
    message.gps_tow_sec(100);
    message.utc_tod_sec(82);
    time.store(message);
    receive({bearing(20)});
    const auto record = published();
    EXPECT_EQ(record.threats[0].time.year, 2022U);
    EXPECT_EQ(record.threats[0].time.minute, 1U);
    EXPECT_EQ(record.threats[0].time.seconds, 22U);
}

TEST_F(NavWarAwarenessTest, AReportIsUsedOnce)
{
    EXPECT_TRUE(receive({bearing(20)}));
    EXPECT_FALSE(awareness.process());
    EXPECT_THAT(centres(), ElementsAre(1.0));
}

TEST_F(NavWarAwarenessTest, ANewerReportReplacesTheOneThatWaits)
{
    EXPECT_TRUE(awareness.take(threatFrameOf({bearing(20)})));
    EXPECT_TRUE(awareness.take(threatFrameOf({bearing(40)})));
    awareness.process();
    EXPECT_THAT(centres(), ElementsAre(2.0));
}

TEST_F(NavWarAwarenessTest, ARefusedFrameLeavesTheReportThatWaits)
{
    EXPECT_TRUE(awareness.take(threatFrameOf({bearing(20)})));
    auto frame = threatFrameOf({bearing(40)});
    frame.resize(210);
    EXPECT_FALSE(awareness.take(frame));
    awareness.process();
    EXPECT_THAT(centres(), ElementsAre(1.0));
}

TEST_F(NavWarAwarenessTest, OfTheLengthOfAFrameTheLowSixteenBitsCount)
{
    auto frame = threatFrameOf({bearing(20)});
    frame.resize(65536 + 212);
    EXPECT_TRUE(awareness.take(frame));
}

TEST_F(NavWarAwarenessTest, OfSixtyThreatsTheLastFiftyGoOutTheOldestFirst)
{
    for (std::uint16_t center = 1; center <= 60; ++center) receive({bearing(center)});
    const auto record = published();
    EXPECT_EQ(valueAt<std::uint32_t>(record, 0), 1U);
    EXPECT_EQ(valueAt<std::uint32_t>(record, 4), 0U);
    for (std::size_t i = 0; i < 50; ++i)
        EXPECT_EQ(valueAt<double>(record, 8 + 704 * i + 640), 50000.0 * static_cast<double>(11 + i)) << i;
    EXPECT_EQ(valueAt<std::uint32_t>(record, 35208), 50U);
}

TEST_F(NavWarAwarenessTest, EachThreatGoesOutOnceAndAnEmptyListIsToldToo)
{
    receive({bearing(20), bearing(40)});
    EXPECT_EQ(awareness.list().size(), 2U);
    EXPECT_EQ(published().threatCount, 2U);
    EXPECT_THAT(awareness.list(), IsEmpty());
    const VapntcNavWarSaRecord empty = {};
    const auto record = published();
    EXPECT_EQ(std::memcmp(&record, &empty, sizeof empty), 0);
    const auto call = victory.last("vapntsTellNavWarSaData");
    EXPECT_EQ(call.service, service);
    EXPECT_EQ(call.time(), nullptr);
}

TEST_F(NavWarAwarenessTest, WhileTheServiceIsDownThreatsStayWithAnEventOfThisUnit)
{
    recordFaults();
    receive({bearing(20)});
    const ConsoleCapture console(std::cout);
    awareness.publish(service, !kStarted, !kTellDisabled);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre(MatchesRegex("3:NavWarAwareness\\.cpp\\[[0-9]+\\]:OrvaneServer : Cannot publish NavWarSA "
                                         "threats while APNT service is not running! Threats remain queued\\.")));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\), cbTellNavWarSaCallback : OrvaneServer : "
                                             "Cannot publish NavWarSA threats while APNT service is not running! "
                                             "Threats remain queued\\.\n"));
    EXPECT_EQ(victory.count("vapntsTellNavWarSaData"), 0U);
    EXPECT_THAT(centres(), ElementsAre(1.0));
}

TEST_F(NavWarAwarenessTest, WhileTellingIsDisabledTheListIsEmptiedAllTheSame)
{
    receive({bearing(20)});
    awareness.publish(service, kStarted, kTellDisabled);
    EXPECT_EQ(victory.count("vapntsTellNavWarSaData"), 0U);
    EXPECT_THAT(centres(), IsEmpty());
}

TEST_F(NavWarAwarenessTest, WhatTheLibraryThrowsGoesOnAndNothingIsPutBack)
{
    const HardDeadline deadline;
    receive({bearing(20)});
    victory.onCall("vapntsTellNavWarSaData", [] { throw std::runtime_error("no luck"); });
    EXPECT_THROW(publish(), std::runtime_error);
    victory.onCall("vapntsTellNavWarSaData", nullptr);
    EXPECT_THAT(centres(), IsEmpty());
}

TEST_F(NavWarAwarenessTest, AFailureNamesAnotherOperationAndTheReportStillWaits)
{
    recordFaults();
    EXPECT_TRUE(awareness.take(threatFrameOf({bearing(20)})));
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    const BeforeNextLine failure([] { throw std::bad_alloc(); });
    awareness.process();
    settings.m_debug = false;
    EXPECT_THAT(popHealthEvents(), ElementsAre(MatchesRegex("3:NavWarAwareness\\.cpp\\[[0-9]+\\]:OrvaneServer: An "
                                                            "exception occurred\\. Details: std::bad_alloc")));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : An "
                                             "exception occurred in attemptBlendedNavigationProcessing\\. Details: "
                                             "OrvaneServer: An exception occurred\\. Details: std::bad_alloc\n"));
    EXPECT_TRUE(awareness.process());
    EXPECT_THAT(centres(), ElementsAre(1.0));
}

TEST_F(NavWarAwarenessTest, MoreThreatsThanAreKeptAskForNoMemory)
{
    const auto frame = threatFrameOf({bearing(20), bearing(40)});
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        for (int i = 0; i < 30; ++i) {
            awareness.take(frame);
            awareness.process();
        }
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0U);
    EXPECT_EQ(awareness.list().size(), 50U);
}

TEST_F(NavWarAwarenessTest, WhatIsNoStandardExceptionIsUnknown)
{
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    const BeforeNextLine failure([] { throw 1; });
    receive({bearing(20)});
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown c++ exception in attemptBlendedNavigationProcessing"));
}

TEST_F(NavWarAwarenessTest, NoThreatIsAddedWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    Meanwhile addition([&] { awareness.append({}); });
    victory.onCall("vapntsTellNavWarSaData", [&] { EXPECT_FALSE(addition.isOverWithin(100ms)); });
    publish();
    addition.join();
    victory.onCall("vapntsTellNavWarSaData", nullptr);
    EXPECT_EQ(published().threatCount, 1U);
}

TEST_F(NavWarAwarenessTest, NoReportIsTakenWhileOneIsProcessed)
{
    const HardDeadline deadline;
    Meanwhile arrival([&] { awareness.take(threatFrameOf({bearing(40)})); });
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    const BeforeNextLine reportIsShown([&] { EXPECT_FALSE(arrival.isOverWithin(100ms)); });
    receive({bearing(20)});
    arrival.join();
    EXPECT_TRUE(awareness.process());
    EXPECT_THAT(centres(), ElementsAre(1.0, 2.0));
}

TEST_F(NavWarAwarenessTest, DebugLinesTellTheReportAndEachThreat)
{
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    receive({{.statusA = kState | kPowerValid | kBandwidthValid,
              .statusB = kBearing | kConfident | 4 << 2,
              .power = -57,
              .center = 20,
              .bandwidth = 5,
              .azimuth = 181,
              .elevation = 91}});
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServerOrvaneServer, processing Navwar SA from ThreatData \\(Line of Bearing\\) "
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
                             "Az             = 181 deg, -3\\.14159\n"
                             "Az Conf \\(0-100\\)= 100\n"
                             "El             = 91 deg, -1\\.5708\n"
                             "El Conf \\(0-100\\)= 100\n"
                             "Center         = 1e\\+06\n"
                             "BW             = 5000\n"
                             "Power          = -57\n"));
}

TEST_F(NavWarAwarenessTest, DebugLineOfAPublicationTellsTheNumberUnlessThereIsNone)
{
    receive({bearing(20), bearing(40)});
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    publish();
    publish();
    EXPECT_EQ(console.text(), "OrvaneServer : sending NavWarSa data to VDB. Number of threats: 2\n");
}

TEST_F(NavWarAwarenessTest, OnlyTheTimeOfAThreatIsShownUnlessQuiet)
{
    settings.m_quiet = false;
    const ConsoleCapture console(std::cout);
    receive({bearing(20)});
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer, set_VictoryTime \\([0-9]+\\) [0-9:.]+\n"));
}
