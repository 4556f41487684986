#include "lab/ctl/why/JoinDiary.h"

#include "lab/ctl/why/BusEntries.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace orvanectl;
using namespace aspn2_msgs::idl;

namespace {

using Lines = std::vector<std::string>;
using Time = JoinDiary::Time;

constexpr std::int32_t kNavigator = 0x01600000;
constexpr std::int32_t kMasterClock = 0x01250000;
constexpr std::int32_t kZentor = 0x01270000;

template <class Message>
Message at(double seconds, std::int32_t device = kNavigator)
{
    Message message;
    message.header().device_id(device);
    message.header().timestamp_valid().sec(static_cast<std::int64_t>(std::floor(seconds)));
    message.header().timestamp_valid().nsec(
        static_cast<std::int32_t>(std::lround((seconds - std::floor(seconds)) * 1e9)));
    return message;
}

/// A report of the receiver with so many bytes.
GSSIP report(double seconds, std::size_t bytes = 412)
{
    auto record = at<GSSIP>(seconds, kZentor);
    record.data().resize(bytes);
    record.data()[2] = 8504 & 0xFF;
    record.data()[3] = 8504 >> 8;
    record.num_bytes(static_cast<std::int32_t>(bytes));
    return record;
}

/// A diary that is given messages at moments in s; a message is valid at the moment unless a test says otherwise.
struct JoinDiaryTest : testing::Test {
    static Time moment(double seconds)
    {
        return Time{} + std::chrono::duration_cast<Time::duration>(std::chrono::duration<double>(1000 + seconds));
    }

    explicit JoinDiaryTest(JoinDiary::Hearing what = {true, false}) : hearing(what)
    {
        settings.m_gssipSourceServers = {39};
    }

    JoinDiary& diary()
    {
        if (!made) made.emplace(settings, hearing);
        return *made;
    }

    /// Its GPS second is the second of its validity.
    void time(double seconds, std::int32_t device = kMasterClock)
    {
        auto message = at<UTCTime>(seconds, device);
        message.gps_tow_sec(static_cast<std::int32_t>(seconds));
        message.gps_tow_nsec(std::round((seconds - std::floor(seconds)) * 1e9));
        diary().take(message, moment(seconds));
    }

    template <class Message>
    void take(double seconds, double when)
    {
        diary().take(at<Message>(seconds), moment(when));
    }

    /// All but the time and these.
    template <class... Left>
    void others(double seconds)
    {
        const double when = seconds + 0.01;
        if (!(std::is_same_v<Left, PositionVelocityAttitude> || ...)) take<PositionVelocityAttitude>(seconds, when);
        if (!(std::is_same_v<Left, HalvexPNT> || ...)) take<HalvexPNT>(seconds, when);
        if (!(std::is_same_v<Left, MeasurementIncorporationStatus> || ...))
            take<MeasurementIncorporationStatus>(seconds, when);
        if (!(std::is_same_v<Left, AssuranceState> || ...)) take<AssuranceState>(seconds, when);
    }

    void tell(double seconds, double when) { diary().tell(seconds, moment(when)); }

    /// A second in which all is there, and that is published.
    void good(double seconds)
    {
        time(seconds);
        others(seconds);
        tell(seconds, seconds + 0.3);
    }

    static Lines linesOf(const std::vector<Epoch>& epochs)
    {
        Lines lines;
        for (const Epoch& epoch : epochs) {
            std::string line = std::to_string(static_cast<int>(epoch.gpsSeconds));
            line += epoch.isJoined ? " joined" : ":";
            for (const MissCause& cause : epoch.causes) line += ' ' + cause.text() + ';';
            lines.push_back(line);
        }
        return lines;
    }

    Lines all(double end) { return linesOf(diary().end(moment(end))); }

    ServerSettings settings;
    const JoinDiary::Hearing hearing;
    std::optional<JoinDiary> made;
};

struct JoinDiaryWithReceiverTest : JoinDiaryTest {
    JoinDiaryWithReceiverTest() : JoinDiaryTest({true, true}) {}

    void good(double seconds)
    {
        diary().take(report(seconds), moment(seconds));
        JoinDiaryTest::good(seconds);
    }
};

/// It is only known when the service reads the receiver's queue.
struct JoinDiaryWithQueueTest : JoinDiaryTest {
    explicit JoinDiaryWithQueueTest(bool hasBus = true) : JoinDiaryTest({.bus = hasBus, .queue = true}) {}

    void good(double seconds)
    {
        read(seconds);
        JoinDiaryTest::good(seconds);
    }

    void read(double when) { diary().takeReading(moment(when)); }
};

struct JoinDiaryWithQueueAloneTest : JoinDiaryWithQueueTest {
    JoinDiaryWithQueueAloneTest() : JoinDiaryWithQueueTest(false) {}
};

struct JoinDiaryWithoutBusTest : JoinDiaryTest {
    JoinDiaryWithoutBusTest() : JoinDiaryTest({false, false}) {}
};

struct JoinDiaryWithReceiverAloneTest : JoinDiaryTest {
    JoinDiaryWithReceiverAloneTest() : JoinDiaryTest({.bus = false, .receiver = true}) {}
};

}  // namespace

TEST_F(JoinDiaryTest, WhatIsPublishedIsJoined)
{
    good(10);
    good(11);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11 joined"}));
}

TEST_F(JoinDiaryTest, AServiceRunsOnlyOnceItIsStarted)
{
    good(10);
    for (const char* event : {"deleted", "created", "starting"})
        enterBusLine(diary(), {{"type", "service"}, {"event", event}, {"phase", "started"}}, moment(10.5));
    time(11);
    others(11);
    enterBusLine(diary(), {{"type", "service"}, {"event", "started"}, {"phase", "started"}}, moment(11.9));
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no service running;", "12 joined"}));
}

TEST_F(JoinDiaryTest, AnInputThatDidNotComeIsNamed)
{
    good(10);
    time(11);
    others<HalvexPNT, MeasurementIncorporationStatus>(11);
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no HalvexPNT; no MeasurementIncorporationStatus;", "12 joined"}));
}

TEST_F(JoinDiaryTest, AnInputOfTheNextEpochIsNotEarlyInThisOne)
{
    good(10);
    time(11);
    others<HalvexPNT>(11);
    take<PositionVelocityAttitude>(12, 11.998);
    take<AssuranceState>(12, 11.999);
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no HalvexPNT;", "12 joined"}));
}

TEST_F(JoinDiaryTest, AnInputThatStayedFromTheEpochBeforeIsMissing)
{
    good(10);
    time(11);
    others<HalvexPNT>(11);
    time(12);
    others<PositionVelocityAttitude>(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no HalvexPNT;", "12: no PositionVelocityAttitude;"}));
}

TEST_F(JoinDiaryTest, AnInputOfAnotherTimeIsLateOrEarly)
{
    good(10);
    for (const double second : {11, 12}) {
        time(second);
        others<HalvexPNT>(second);
        take<HalvexPNT>(second - 1.2, second + 0.02);
    }
    for (const double second : {13, 14}) {
        time(second);
        others<AssuranceState>(second);
        take<AssuranceState>(second + 1.5, second + 0.02);
    }
    EXPECT_EQ(all(15), (Lines{"10 joined", "11: HalvexPNT 1.2 s late;", "12: HalvexPNT 1.2 s late;",
                              "13: AssuranceState 1.5 s early;", "14: AssuranceState 1.5 s early;"}));
}

TEST_F(JoinDiaryTest, ALateInputThatComesBeforeTheTimeIsLateAndNotMissing)
{
    good(10);
    for (const double second : {11, 12}) {
        take<HalvexPNT>(second - 1.2, second - 0.002);
        time(second);
        others<HalvexPNT>(second);
    }
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: HalvexPNT 1.2 s late;", "12: HalvexPNT 1.2 s late;"}));
}

TEST_F(JoinDiaryTest, ASecondApartIsTooFar)
{
    good(10);
    time(11);
    others<HalvexPNT>(11);
    take<HalvexPNT>(10.001, 11.02);
    time(12);
    others<HalvexPNT>(12);
    take<HalvexPNT>(11, 12.02);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no usable 8504;", "12: HalvexPNT 1.0 s late;"}));
}

TEST_F(JoinDiaryTest, WhatComesSlowlyIsNoCauseBesideWhatDoesNotCome)
{
    good(10);
    time(11);
    others<HalvexPNT, PositionVelocityAttitude>(11);
    take<PositionVelocityAttitude>(11, 11.6);
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no HalvexPNT;", "12 joined"}));
}

TEST_F(JoinDiaryTest, AnInputFromAnotherSourceIsRefused)
{
    settings.m_fusionPNTSourceServerId = 97;
    time(10);
    others(10);
    EXPECT_EQ(all(11), Lines{"10: HalvexPNT refused, from HalvexNavigator;"});
}

TEST_F(JoinDiaryTest, WhatAllInputsAllowAndNobodyPublishedWantsTheReceiver)
{
    time(10);
    others(10);
    good(11);
    EXPECT_EQ(all(12), (Lines{"10: no usable 8504;", "11 joined"}));
}

TEST_F(JoinDiaryTest, WhatCameBeforeTheFirstTimeMessageIsNotKnown)
{
    time(10);
    others<PositionVelocityAttitude>(10);
    good(11);
    EXPECT_EQ(all(12), Lines{"11 joined"});
}

TEST_F(JoinDiaryTest, TimeMessagesThatAreLeftOutAreMissed)
{
    good(10);
    good(11);
    good(14);
    EXPECT_EQ(all(15), (Lines{"10 joined", "11 joined", "12: no UTCTime;", "13: no UTCTime;", "14 joined"}));
}

TEST_F(JoinDiaryTest, TimeMessagesThatNoLongerComeAreMissed)
{
    good(10);
    good(11);
    EXPECT_EQ(all(13.6), (Lines{"10 joined", "11 joined", "12: no UTCTime;", "13: no UTCTime;"}));
}

TEST_F(JoinDiaryTest, TimeMessagesOfAnotherSourceAreRefused)
{
    settings.m_utcSourceServerId = 37;
    good(10);
    good(11);
    time(12, kNavigator);
    good(13);
    EXPECT_EQ(all(14), (Lines{"10 joined", "11 joined", "12: UTCTime refused, from HalvexNavigator;", "13 joined"}));
}

TEST_F(JoinDiaryTest, TimeMessagesThatStopAreToldWhileTheyAreAway)
{
    good(10);
    good(11);
    EXPECT_FALSE(diary().silence(moment(12.9)));
    ASSERT_TRUE(diary().silence(moment(15.5)));
    EXPECT_EQ(lastingText(*diary().silence(moment(15.5))), "no UTCTime for 4 s");
    good(16);
    EXPECT_FALSE(diary().silence(moment(16.5)));
}

TEST_F(JoinDiaryTest, TimeMessagesThatAreRefusedFromTheStartAreToldSo)
{
    settings.m_utcSourceServerId = 37;
    EXPECT_EQ(lastingText(diary().silence(moment(9)).value()), "no UTCTime");
    for (const double second : {10.0, 11.0, 12.0}) time(second, kNavigator);
    EXPECT_EQ(lastingText(diary().silence(moment(12.1)).value()), "UTCTime refused, from HalvexNavigator");
    EXPECT_EQ(all(13), Lines{});
}

TEST_F(JoinDiaryTest, TimeMessagesThatAreRefusedFromSomeMomentOnAreToldSo)
{
    settings.m_utcSourceServerId = 37;
    good(10);
    good(11);
    for (const double second : {12.0, 13.0, 14.0}) time(second, kNavigator);
    EXPECT_EQ(lastingText(diary().silence(moment(14.5)).value()), "UTCTime refused, from HalvexNavigator, for 3 s");
}

TEST_F(JoinDiaryTest, SlowTimeMessagesAreNoSilence)
{
    good(10);
    good(20);
    EXPECT_FALSE(diary().silence(moment(39)));
    EXPECT_TRUE(diary().silence(moment(41)));
}

TEST_F(JoinDiaryTest, TwoTimeMessagesCloseToEachOtherMakeNoGap)
{
    good(10);
    good(11);
    good(11.1);
    good(12.1);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11 joined", "11 joined", "12 joined"}));
}

TEST_F(JoinDiaryTest, APublicationBehindTheNextTimeMessageCounts)
{
    time(10);
    others(10);
    time(11);
    tell(10, 11.005);
    others(11);
    tell(11, 11.3);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11 joined"}));
}

TEST_F(JoinDiaryTest, AnInputIsUsedOnce)
{
    good(10);
    time(11);
    EXPECT_EQ(all(12).back(), "11: no PositionVelocityAttitude; no HalvexPNT; no MeasurementIncorporationStatus; no "
                              "AssuranceState;");
}

TEST_F(JoinDiaryTest, WhatIsOvertakenBeforeTheServiceLooksIsToldSo)
{
    good(10);
    for (const double second : {11.0, 11.1, 11.2}) {
        time(second);
        others(second);
    }
    tell(11.2, 11.3);
    EXPECT_EQ(all(11.3), (Lines{"10 joined", "11: UTCTime overtaken, all there for 0.1 s;",
                                "11: UTCTime overtaken, all there for 0.1 s;", "11 joined"}));
}

TEST_F(JoinDiaryTest, ThatAnInputComesOftenDoesNotOvertakeIt)
{
    good(10);
    time(11);
    others(11);
    for (int i = 1; i < 9; ++i) take<AssuranceState>(11, 11 + 0.1 * i);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: no usable 8504;"}));
}

TEST_F(JoinDiaryTest, WithoutAServiceNothingElseIsToBlame)
{
    good(10);
    diary().setServiceRuns(false, moment(10.5));
    time(11);
    others<HalvexPNT>(11);
    diary().setServiceRuns(true, moment(11.9));
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no service running;", "12 joined"}));
}

TEST_F(JoinDiaryTest, AnEpochIsDecidedOnceItsPublicationCantComeAnyMore)
{
    good(10);
    good(11);
    EXPECT_TRUE(diary().takeDecided(moment(11.9)).empty());
    EXPECT_EQ(linesOf(diary().takeDecided(moment(12))), Lines{"10 joined"});
    EXPECT_TRUE(diary().takeDecided(moment(12)).empty());
}

TEST_F(JoinDiaryTest, OfTooManyTimeMessagesAtOneMomentOnlyTheNumberIsKept)
{
    // The first one lacks what came before it, and the last may not have been looked at.
    for (int i = 0; i < 10'005; ++i) diary().take(at<UTCTime>(10 + i, kMasterClock), moment(10));
    const std::vector<Epoch> epochs = diary().end(moment(10));
    ASSERT_EQ(epochs.size(), 10'001U);
    EXPECT_EQ(epochs[9'999].leftOut, 0U);
    EXPECT_EQ(epochs[10'000].leftOut, 3U);
}

TEST_F(JoinDiaryTest, HoursThatAreMissingAtOneMomentAreTooMany)
{
    good(10);
    good(11);
    for (int hour = 1; hour <= 4; ++hour) {
        auto message = at<UTCTime>(12, kMasterClock);
        message.gps_tow_sec(11 + 3600 * hour);
        diary().take(message, moment(12));
    }
    tell(0, 12);  // of none of them
    const std::vector<Epoch> epochs = diary().end(moment(12));
    ASSERT_EQ(epochs.size(), 10'001U);
    // Two that are joined, 3 that lack inputs, and four times 3599 between them.
    EXPECT_EQ(epochs[10'000].leftOut, 4'401U);
    EXPECT_FALSE(epochs[10'000].isJoined);
}

TEST_F(JoinDiaryTest, OfManyRefusedServersEightAreNamed)
{
    settings.m_utcSourceServerId = 37;
    time(10);
    for (const std::int32_t server : {37, 39, 41, 42, 43, 44, 45, 46, 47, 48})
        diary().take(at<UTCTime>(11, server << 16), moment(11));
    const auto silence = diary().silence(moment(20));
    ASSERT_TRUE(silence);
    EXPECT_TRUE(silence->servers.ends_with(" and 1 other")) << silence->servers;
}

TEST_F(JoinDiaryTest, AnEpochThatHasJustBegunIsLeftOutOfTheEnd)
{
    good(10);
    time(11);
    others(11);
    EXPECT_EQ(all(11.4), Lines{"10 joined"});
}

TEST_F(JoinDiaryTest, AMomentThatGoesBackCountsAsTheLast)
{
    good(10);
    time(11);
    take<PositionVelocityAttitude>(11, 10.9);
    others<PositionVelocityAttitude>(11);
    tell(11, 10.8);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11 joined"}));
}

TEST_F(JoinDiaryTest, AnInputTellsItsAgeAndItsOffset)
{
    settings.m_misSourceServerId = 97;
    time(10);
    others<HalvexPNT>(10);
    take<HalvexPNT>(9.5, 10.2);
    EXPECT_EQ(diary().input(JoinInput::Pnt).arrived, moment(10.2));
    EXPECT_DOUBLE_EQ(diary().input(JoinInput::Pnt).behind, 0.5);
    EXPECT_EQ(diary().input(JoinInput::Mis).refused, 1u);
    EXPECT_FALSE(diary().input(JoinInput::Mis).arrived);
    EXPECT_TRUE(std::isnan(diary().input(JoinInput::Mis).behind));
    EXPECT_EQ(diary().input(JoinInput::UtcTime).taken, 1u);
}

TEST_F(JoinDiaryWithReceiverTest, AReportThatDidNotComeIsNamed)
{
    good(10);
    time(11);
    others(11);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: no 8504;"}));
}

TEST_F(JoinDiaryWithReceiverTest, AReportThatCantBeUnpackedIsNoFrame)
{
    good(10);
    time(11);
    others(11);
    diary().take(report(11, 212), moment(11.02));
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: 8504 not a frame;"}));
}

TEST_F(JoinDiaryWithReceiverTest, AFrameBehindOneThatUsedUpTheOthersIsOfNoUse)
{
    good(10);
    time(11);
    others(11);
    diary().take(report(11, 212), moment(11.02));
    diary().take(report(11), moment(11.4));
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: 8504 not a frame;", "12 joined"}));
}

TEST_F(JoinDiaryWithReceiverTest, AFrameSoonBehindOneThatIsNoneMayStillBeJoined)
{
    for (const double second : {10.0, 11.0}) {
        time(second);
        others(second);
        diary().take(report(second, 212), moment(second + 0.02));
        diary().take(report(second), moment(second + 0.1));
        if (second == 10) tell(10, 10.3);
    }
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: 8504 not a frame;"}));
}

TEST_F(JoinDiaryWithReceiverTest, WhatWasUsedUpIsNotThereForTheNextTimeMessage)
{
    const std::string lacks = "no PositionVelocityAttitude; no HalvexPNT; no MeasurementIncorporationStatus;";
    for (const double until : {11.4, 11.1}) {
        made.reset();
        good(10);
        time(11);
        others(11);
        diary().take(report(11, 212), moment(11.02));
        diary().take(report(11), moment(until));
        time(11.5);
        take<AssuranceState>(11.5, 11.51);
        EXPECT_EQ(all(12.5), (Lines{"10 joined", "11: 8504 not a frame;", "11: " + lacks})) << until;
    }
}

TEST_F(JoinDiaryWithReceiverTest, WithoutAServiceNothingIsUsedUp)
{
    good(10);
    diary().setServiceRuns(false, moment(10.5));
    time(11);
    others(11);
    diary().take(report(11, 212), moment(11.02));
    diary().setServiceRuns(true, moment(11.45));
    time(11.5);
    diary().take(report(11.5), moment(11.51));
    // Of what was there at 11 nothing is lacking.
    EXPECT_EQ(all(12.5), (Lines{"10 joined", "11: no service running;", "11: 8504 not a frame;"}));
}

TEST_F(JoinDiaryWithReceiverTest, AServiceThatHasLookedAndPublishedNothingIsNotExcusedByALaterReport)
{
    good(10);
    time(11);
    others(11);
    diary().take(report(11), moment(11.02));
    diary().take(report(11, 212), moment(11.5));
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: all there, nothing published;"}));
}

TEST_F(JoinDiaryWithReceiverAloneTest, WhatIsNoRecordLeavesAReportThatCameBeforeItsTimeMessage)
{
    time(10);
    others(10);
    diary().take(report(10), moment(10.02));
    diary().take(report(11), moment(10.95));
    diary().takeNoRecord(moment(10.97));
    time(11);
    others(11);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11 joined"}));
}

TEST_F(JoinDiaryWithReceiverAloneTest, AFrameBehindOneThatUsedUpTheOthersIsNotJoined)
{
    time(10);
    others(10);
    diary().take(report(10, 212), moment(10.02));
    diary().take(report(10), moment(10.6));
    time(11);
    others(11);
    diary().take(report(11), moment(11.02));
    EXPECT_EQ(all(12), (Lines{"10: 8504 not a frame;", "11 joined"}));
}

TEST_F(JoinDiaryWithReceiverAloneTest, WhatIsNoRecordLeavesTheReportBeforeIt)
{
    time(10);
    others(10);
    diary().take(report(10), moment(10.02));
    diary().takeNoRecord(moment(10.03));
    EXPECT_EQ(all(11), Lines{"10 joined"});
    EXPECT_EQ(diary().input(JoinInput::Receiver).broken, 1u);
}

TEST_F(JoinDiaryWithReceiverAloneTest, WhatIsNoRecordUsesNothingUp)
{
    time(10);
    others(10);
    diary().takeNoRecord(moment(10.02));
    diary().take(report(10), moment(10.6));
    EXPECT_EQ(all(11), Lines{"10 joined"});
}

TEST_F(JoinDiaryWithReceiverTest, WhatIsNoRecordIsNoFrame)
{
    good(10);
    time(11);
    others(11);
    diary().takeNoRecord(moment(11.02));
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: 8504 not a frame;"}));
}

TEST_F(JoinDiaryWithReceiverTest, AReportOfAnotherTimeIsLate)
{
    good(10);
    time(11);
    others(11);
    diary().take(report(9.5), moment(11.02));
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: 8504 1.5 s late;"}));
}

TEST_F(JoinDiaryWithReceiverTest, AReportOfAnotherServerIsRefused)
{
    settings.m_gssipSourceServers = {40};
    time(10);
    others(10);
    diary().take(report(10), moment(10.02));
    EXPECT_EQ(all(11), Lines{"10: 8504 refused, from ZentorM;"});
}

TEST_F(JoinDiaryWithReceiverTest, AnotherMessageOfTheQueueIsPassedOver)
{
    good(10);
    time(11);
    others(11);
    GSSIP warning = report(11);
    warning.data()[2] = 5044 & 0xFF;
    warning.data()[3] = 5044 >> 8;
    diary().take(warning, moment(11.02));
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: no 8504;"}));
}

TEST_F(JoinDiaryWithQueueTest, OnceTheReceiverIsHeardItsReportsCount)
{
    good(10);
    diary().setReceiverHeard(true, moment(10.9));
    diary().take(report(11), moment(11));
    JoinDiaryTest::good(11);
    time(12);
    others(12);
    read(12.01);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11 joined", "12: no 8504;"}));
}

TEST_F(JoinDiaryWithReceiverTest, WhatIsRefusedOrBrokenIsCounted)
{
    good(10);
    diary().take(report(11, 20), moment(11));
    auto foreign = report(12);
    foreign.header().device_id(kNavigator);
    diary().take(foreign, moment(12));
    const auto receiver = diary().input(JoinInput::Receiver);
    EXPECT_EQ(receiver.taken, 2u);
    EXPECT_EQ(receiver.refused, 1u);
    EXPECT_EQ(receiver.broken, 1u);
    EXPECT_EQ(receiver.header.timestamp_valid().sec(), 11);
}

TEST_F(JoinDiaryWithQueueTest, AQueueThatIsNotReadHasNoReport)
{
    good(10);
    time(11);
    others(11);
    good(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no 8504 read;", "12 joined"}));
}

TEST_F(JoinDiaryWithQueueTest, WhatIsReadMayBeOfNoUse)
{
    good(10);
    time(11);
    others(11);
    read(11.02);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: no usable 8504;"}));
}

TEST_F(JoinDiaryWithQueueTest, WhatWasReadForTheEpochBeforeIsNotOfThisOne)
{
    good(10);
    time(11);
    others<HalvexPNT>(11);
    read(11.02);
    time(12);
    others(12);
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no HalvexPNT;", "12: no 8504 read;"}));
}

TEST_F(JoinDiaryWithQueueTest, WhatMayHaveBeenReadBeforeTheStartIsNotKnown)
{
    time(10);
    others(10);
    good(11);
    EXPECT_EQ(all(12), Lines{"11 joined"});
}

TEST_F(JoinDiaryWithQueueAloneTest, WithoutAReadingNothingCouldBeJoined)
{
    for (const double second : {10.0, 11.0, 12.0}) {
        if (second != 11.0) read(second);
        time(second);
        others(second);
    }
    EXPECT_EQ(all(13), (Lines{"10 joined", "11: no 8504 read;", "12 joined"}));
}

TEST_F(JoinDiaryWithReceiverTest, WhatIsNotPublishedThoughAllIsThereIsToldSo)
{
    good(10);
    time(11);
    others(11);
    diary().take(report(11), moment(11.02));
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: all there, nothing published;"}));
}

TEST_F(JoinDiaryWithoutBusTest, WhatCouldBeJoinedIs)
{
    time(10);
    others(10);
    time(11);
    others<AssuranceState>(11);
    EXPECT_EQ(all(12), (Lines{"10 joined", "11: no AssuranceState;"}));
}

TEST_F(JoinDiaryWithoutBusTest, AtTenHertzTheServiceIsOvertaken)
{
    for (int i = 0; i < 20; ++i) {
        time(10 + 0.1 * i);
        others(10 + 0.1 * i);
    }
    int joined = 0;
    for (const Epoch& epoch : diary().end(moment(12))) joined += epoch.isJoined;
    EXPECT_EQ(joined, 8);
}

TEST(JoinSumTest, CountsCausesTheMostFrequentFirst)
{
    JoinSum sum;
    for (int i = 0; i < 56; ++i) sum.add({0, true, {}});
    sum.add({0, false, {{MissCause::Kind::Missing, JoinInput::Receiver}}});
    for (int i = 0; i < 3; ++i) sum.add({0, false, {{MissCause::Kind::Late, JoinInput::Pnt, 1.2}}});
    EXPECT_EQ(sum.text(), "join rate 0.93 (56 of 60): 3 x HalvexPNT 1.2 s late, 1 x no 8504");
}

TEST(JoinSumTest, WhatIsLateByMoreAndLessIsOneCause)
{
    JoinSum sum;
    for (const double seconds : {1.4, 1.16, 2.0})
        sum.add({0, false, {{MissCause::Kind::Late, JoinInput::Pva, seconds}}});
    EXPECT_EQ(sum.text(), "join rate 0.00 (0 of 3): 3 x PositionVelocityAttitude 1.2 to 2.0 s late");
}

TEST(JoinSumTest, EachSetOfServersWeighs)
{
    JoinSum sum;
    for (int i = 0; i < 100; ++i)
        sum.add(
            {0, false, {{MissCause::Kind::Refused, JoinInput::Pnt, 0, std::string(1000, 'x') + std::to_string(i)}}});
    EXPECT_GE(sum.weight(), 100'000U);
}

TEST(JoinSumTest, SetsOfServersBeyondAHundredCountTogether)
{
    JoinSum sum;
    for (int i = 0; i < 150; ++i)
        sum.add({0, false, {{MissCause::Kind::Refused, JoinInput::Pnt, 0, "server " + std::to_string(i)}}});
    sum.add({0, false, {{MissCause::Kind::Refused, JoinInput::Pnt, 0, "server 7"}}});
    const auto causes = sum.causes();
    ASSERT_EQ(causes.size(), 101U);
    EXPECT_EQ(causes[0], std::pair(std::string("HalvexPNT refused, from others"), std::uint64_t{50}));
    EXPECT_EQ(causes[1], std::pair(std::string("HalvexPNT refused, from server 7"), std::uint64_t{2}));
}

TEST(JoinSumTest, WhatIsLeftOutIsToldAndNotInTheRate)
{
    JoinSum sum;
    sum.add({0, true, {}});
    sum.add({0, false, {}, 12});
    EXPECT_EQ(sum.text(), "join rate 1.00 (1 of 1); 12 time messages left out, too many at a time");
}

TEST(JoinSumTest, WithoutATimeMessageItSaysSo)
{
    EXPECT_EQ(JoinSum().text(MissCause{MissCause::Kind::Missing}), "no UTCTime, so that nothing can be joined");
    EXPECT_EQ(JoinSum().text(), "nothing is decided of a UTCTime yet");
}

TEST(JoinSumTest, WhatLastsStandsInFront)
{
    JoinSum sum;
    sum.add({0, true, {}});
    EXPECT_EQ(sum.text(MissCause{MissCause::Kind::Missing, JoinInput::UtcTime, 12.9}),
              "no UTCTime for 12 s; join rate 1.00 (1 of 1)");
    EXPECT_EQ(lastingText({MissCause::Kind::Refused, JoinInput::UtcTime, 3, "MasterClock"}),
              "UTCTime refused, from MasterClock, for 3 s");
}
