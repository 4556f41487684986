#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/FreshInputs.h"
#include "tests/VICTORY/OrvaneServer/KeyPipe.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/Meanwhile.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using namespace FreshInputs;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

constexpr const char* kTell = "vapntsTellBlendedNavigationData";

/// The bus runs.
struct BlendedServerTest : testing::Test {
    BlendedServerTest()
    {
        BusFiles::giveTo(victory);
        server.settings().m_gssipSourceServers = {39};
        server.bus().start(nullptr);
        server.run();
        victory.forgetCalls();
        popHealthEvents();
    }

    /// So many GPS measurements.
    static MeasurementIncorporationStatus measurements(int available)
    {
        meas_type_set entry;
        entry.meas_set_id(1);
        entry.meas_avail(available);
        auto message = at<MeasurementIncorporationStatus>();
        message.meas_types().push_back(entry);
        return message;
    }

    template <class Message>
    void take(const Message& message)
    {
        server.deliver(message);
    }
    void take(const GSSIP& record) { server.fromReceiver(record); }

    /// The arrival of each of the six.
    std::vector<std::function<void()>> arrivals()
    {
        return arrivalsOf([this](const auto& message) { take(message); });
    }

    void arriveAll()
    {
        for (const auto& arrive : arrivals()) arrive();
    }

    /// One look at the inputs; how many records it published.
    std::size_t look()
    {
        victory.forgetCalls();
        server->attemptBlendedNavigationProcessing();
        return victory.count(kTell);
    }

    VapntcBlendedNavigationRecord told() const { return victory.last(kTell).record<VapntcBlendedNavigationRecord>(); }

    const TemporaryDirectory directory;
    VictoryRecorder victory;
    ServerDoor server{directory.write("sensors.xml", fileOf({}))};
    const ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(BlendedServerTest, SixInputsAreJoinedIntoOneRecord)
{
    auto utcTime = at<UTCTime>();
    utcTime.gps_week(2235);
    utcTime.gps_tow_sec(100);
    utcTime.gps_tow_nsec(250'000'000.0);
    utcTime.utc_tod_sec(82);
    utcTime.utc_tod_nsec(250'000'000.0);
    auto pva = at<PositionVelocityAttitude>();
    pva.covariance()[0][0] = 1e12;
    auto pnt = at<HalvexPNT>();
    pnt.Vert_PosError(20.0);
    auto mis = at<MeasurementIncorporationStatus>();
    meas_type_set entry;
    entry.meas_set_id(10);
    entry.meas_used(1);
    entry.meas_avail(0);
    mis.meas_types().push_back(entry);
    auto assurance = at<AssuranceState>();
    assurance.assurance_state(assurance_state_enum{2});
    server.deliver(utcTime);
    server.deliver(pva);
    server.deliver(pnt);
    server.deliver(mis);
    server.deliver(assurance);
    server.fromReceiver(receiverAt(1000, 0, 1.0F));

    ASSERT_EQ(look(), 1U);
    EXPECT_EQ(victory.last(kTell).service, server.bus().service());
    const auto record = told();
    EXPECT_DOUBLE_EQ(record.gpsSeconds, 100.25);
    EXPECT_EQ(record.fom, 9U);
    EXPECT_EQ(record.verticalPositionError, 20.0);
    EXPECT_EQ(record.sourceCount, 1U);
    EXPECT_EQ(record.sources[0].sourceType, 2U);
    EXPECT_EQ(record.gpsAvailability, 2U);
    EXPECT_EQ(record.assuranceConfidence, 0.95);
    EXPECT_NEAR(record.angleDegrees, 57.29578, 1e-3);
    const auto time = victory.last(kTell).time();
    ASSERT_NE(time, nullptr);
    EXPECT_EQ(time->year, 2022U);
    EXPECT_EQ(time->month, 11U);
    EXPECT_EQ(time->day, 6U);
    EXPECT_EQ(time->hour, 0U);
    EXPECT_EQ(time->minute, 1U);
    EXPECT_EQ(time->seconds, 22U);
    EXPECT_EQ(time->nanoseconds, 250'000'000U);
}

TEST_F(BlendedServerTest, OrderOfArrivalPlaysNoPart)
{
    auto all = arrivals();
    for (auto arrive = all.rbegin(); arrive != all.rend(); ++arrive) (*arrive)();
    EXPECT_EQ(look(), 1U);
}

TEST_F(BlendedServerTest, LostGpsIsNeitherSourceNorAvailable)
{
    arriveAll();  // without a measurement
    ASSERT_EQ(look(), 1U);
    EXPECT_EQ(told().sourceCount, 0U);
    EXPECT_EQ(told().gpsAvailability, 2U);
    arriveAll();
    for (int i = 0; i < 3; ++i) server.deliver(measurements(2));
    ASSERT_EQ(look(), 1U);
    EXPECT_EQ(told().sourceCount, 1U);
    EXPECT_EQ(told().gpsAvailability, 1U);
}

TEST_F(BlendedServerTest, SourceAndAvailabilityOfGpsAgreeWheneverItIsLost)
{
    const HardDeadline deadline;
    std::atomic<bool> stop = false;
    std::mutex one;  // measurements come one at a time
    std::thread listener([&] {
        const auto none = measurements(0);
        const auto enough = measurements(2);
        while (!stop) {
            const std::lock_guard lock(one);
            for (const auto* message : {&none, &none, &none, &enough, &enough, &enough}) server.deliver(*message);
        }
    });
    for (int i = 0; i < 1000; ++i) {
        {
            const std::lock_guard lock(one);
            arriveAll();
        }
        EXPECT_EQ(look(), 1U);
        EXPECT_EQ(told().sourceCount + told().gpsAvailability, 2U) << i;
    }
    stop = true;
    listener.join();
}

TEST_F(BlendedServerTest, TheTimeForOthersOutlastsAJoin)
{
    arriveAll();
    auto utcTime = at<UTCTime>();
    utcTime.gps_tow_sec(100);
    utcTime.utc_tod_sec(82);
    server.deliver(utcTime);
    ASSERT_EQ(look(), 1U);
    EXPECT_EQ(told().gpsSeconds, 100.0);
    const auto all = arrivals();
    for (std::size_t i = 1; i < all.size(); ++i) all[i]();
    EXPECT_EQ(look(), 0U);  // the time has been used
    victory.fireTell(VAPNTS_PUB_GROUP_WARNING_MESSAGES);
    EXPECT_EQ(victory.last("vapntsTellWarningMessagesData").record<VapntcWarningMessagesRecord>().gpsSeconds, 100.0);
}

TEST_F(BlendedServerTest, ARefusedReceiverFrameCostsTheJoinWithoutAWord)
{
    arriveAll();
    auto record = receiverAt();
    record.num_bytes(100);
    server.fromReceiver(record);
    EXPECT_EQ(look(), 0U);
    server.fromReceiver(receiverAt());
    EXPECT_EQ(look(), 0U);  // the others have been used
    EXPECT_EQ(console.text(), "");
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(BlendedServerTest, WhileTheServiceIsDownEachJoinIsLostWithAnEvent)
{
    server.bus().stop();
    popHealthEvents();
    for (int i = 0; i < 2; ++i) {
        arriveAll();
        EXPECT_EQ(look(), 0U);
        EXPECT_EQ(look(), 0U);  // without another event
        EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Cannot publish APNT Blended Navigation data while "
                                                   "APNT service is not running!"));
    }
    EXPECT_THAT(console.text(), MatchesRegex("(OrvaneServer \\([0-9]+\\), encodeVictoryBlendedNavigation : "
                                             "OrvaneServer: Cannot publish APNT Blended Navigation data while APNT "
                                             "service is not running!\n){2}"));
}

TEST_F(BlendedServerTest, AnExceptionIsReportedAndTheInputsStay)
{
    const HardDeadline deadline;
    arriveAll();
    victory.onCall(kTell, [] { throw std::runtime_error("no luck"); });
    server->attemptBlendedNavigationProcessing();
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: An exception occurred. Details: no luck"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : An exception occurred in "
                             "attemptBlendedNavigationProcessing. Details: OrvaneServer: An exception occurred. "
                             "Details: no luck\n"));
    victory.onCall(kTell, nullptr);
    server.deliver(at<PositionVelocityAttitude>());  // nobody holds the lock
    EXPECT_EQ(look(), 1U);
    EXPECT_TRUE(server.bus().stop());
}

TEST_F(BlendedServerTest, WhatIsNoStandardExceptionIsReportedAsUnknown)
{
    arriveAll();
    victory.onCall(kTell, [] { throw 42; });
    server->attemptBlendedNavigationProcessing();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown c++ exception in attemptBlendedNavigationProcessing"));
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : OrvaneServer: Unknown "
                             "c\\+\\+ exception in attemptBlendedNavigationProcessing\n"));
}

TEST_F(BlendedServerTest, NoInputIsStoredWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    arriveAll();
    Meanwhile arrival([&] { server.deliver(at<PositionVelocityAttitude>()); });
    victory.onCall(kTell, [&] { EXPECT_FALSE(arrival.isOverWithin(100ms)); });
    EXPECT_EQ(look(), 1U);
    arrival.join();
    victory.onCall(kTell, nullptr);
    const auto all = arrivals();
    for (std::size_t i = 0; i < all.size(); ++i)
        if (i != 1) all[i]();
    EXPECT_EQ(look(), 1U);  // the second came after all had been used
}

TEST_F(BlendedServerTest, ServiceIsNotDeletedUnderAPublication)
{
    const HardDeadline deadline;
    arriveAll();
    std::atomic<bool> go = false;
    victory.onCall(kTell, [&] { EXPECT_TRUE(eventually([&] { return go.load(); })); });
    std::thread worker([&] { server->attemptBlendedNavigationProcessing(); });
    EXPECT_TRUE(victory.waitForCalls(kTell, 1));
    std::thread main([&] { EXPECT_TRUE(server.bus().stop()); });
    EXPECT_FALSE(victory.waitForCalls("vapntsDeleteService", 1, 100ms));
    go = true;
    worker.join();
    main.join();
    EXPECT_EQ(victory.operations().back(), "vapntsDeleteService");
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}

TEST_F(BlendedServerTest, ATesterMayKeepThePublicationBack)
{
    const KeyPipe tester;
    tester.type("zz");
    server->checkForFaultTestEvents();
    arriveAll();
    EXPECT_EQ(look(), 0U);
    server->checkForFaultTestEvents();
    EXPECT_EQ(look(), 0U);  // they have been used
    arriveAll();
    EXPECT_EQ(look(), 1U);
}

TEST_F(BlendedServerTest, TimeIsPrintedInOneRunOfNumbersWithNineDigits)
{
    arriveAll();
    auto utcTime = at<UTCTime>();
    utcTime.gps_week(2235);
    utcTime.gps_tow_sec(100);
    utcTime.utc_tod_sec(82);
    utcTime.utc_tod_nsec(31'250'000.0);
    server.deliver(utcTime);
    server.settings().m_quiet = false;
    ASSERT_EQ(look(), 1U);
    EXPECT_THAT(console.text(),
                ContainsRegex("\nOrvaneServer, set_VictoryTime \\([0-9]+\\) 2022116:0122\\.031250000\n$"));
    EXPECT_EQ(victory.last(kTell).time()->seconds, 22U);
}

TEST_F(BlendedServerTest, TimeIsNotPrintedUnlessWanted)
{
    arriveAll();
    ASSERT_EQ(look(), 1U);
    EXPECT_EQ(console.text(), "");
}
