#include "reliability/day/AnswerLedger.h"
#include "reliability/day/GpsLedger.h"
#include "reliability/day/Growth.h"
#include "reliability/day/Pace.h"
#include "reliability/day/PartNumberLedger.h"
#include "reliability/day/StallWatch.h"
#include "reliability/day/TellLedger.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sched.h>
#include <thread>
#include <vector>

namespace {

/// GPS is there for 10 s, lost for 20 and back: changes at 12 and 32.
GpsLedger oneOutage()
{
    GpsLedger ledger;
    for (int second = 0; second < 60; ++second) ledger.addStatus(second, second >= 10 && second < 30);
    return ledger;
}

/// Two at 10 s, one each at 100 and 200 s, and what was told of them.
TellLedger fourSent(const std::vector<double>& told)
{
    TellLedger ledger;
    ledger.addSent(10.0, 2);
    ledger.addSent(100.0);
    ledger.addSent(200.0);
    for (const double at : told) ledger.addTold(at);
    return ledger;
}

/// Requests while one component is silent, then one that all answer.
PartNumberLedger threeRequests()
{
    PartNumberLedger ledger;
    ledger.addSilence("GPS", true);
    ledger.addRequest(2.0);
    ledger.addRequest(12.3);
    ledger.addSilence("GPS", false);
    ledger.addRequest(22.6);
    return ledger;
}

}  // namespace

TEST(GpsLedgerTest, WarningsOfLossAndReturnAreAllThatIsDue)
{
    GpsLedger ledger = oneOutage();
    ledger.addWarning(12.5, true);
    ledger.addWarning(32.5, false);
    const auto verdict = ledger.verdict(0, 60);
    EXPECT_EQ(verdict.due, 2U);
    EXPECT_EQ(verdict.missing + verdict.unexpected, 0U);
}

TEST(GpsLedgerTest, LostWarningIsMissing)
{
    GpsLedger ledger = oneOutage();
    ledger.addWarning(32.5, false);
    EXPECT_EQ(ledger.verdict(0, 60).missing, 1U);
    EXPECT_EQ(oneOutage().verdict(0, 60).missing, 2U);
}

TEST(GpsLedgerTest, WarningThatComesLateIsMissingAndUnexpected)
{
    GpsLedger ledger = oneOutage();
    ledger.addWarning(12.5, true);
    ledger.addWarning(45.0, false);
    EXPECT_EQ(ledger.verdict(0, 60).missing, 1U);
    EXPECT_EQ(ledger.verdict(0, 60).unexpected, 1U);
}

TEST(GpsLedgerTest, WarningOfWhatWasNotSentIsUnexpected)
{
    GpsLedger ledger = oneOutage();
    ledger.addWarning(12.5, true);
    ledger.addWarning(12.5, true);
    ledger.addWarning(32.5, false);
    EXPECT_EQ(ledger.verdict(0, 60).missing, 0U);
    EXPECT_EQ(ledger.verdict(0, 60).unexpected, 1U);
}

TEST(GpsLedgerTest, TwoStatusesInARowAreNoLoss)
{
    GpsLedger ledger;
    for (const bool isLost : {false, true, true, false, true, true, false}) ledger.addStatus(1.0, isLost);
    EXPECT_EQ(ledger.verdict(0, 60).due, 0U);
}

TEST(GpsLedgerTest, NothingIsDueThatWasSentBeforeTheLifeOrBehindIt)
{
    EXPECT_EQ(oneOutage().verdict(40, 60).due, 0U);
    EXPECT_EQ(oneOutage().verdict(0, 20).due, 1U);
}

TEST(TellLedgerTest, WhatIsToldInTimeIsAllThatIsDue)
{
    const auto verdict = fourSent({11.0, 11.5, 101.0, 220.0}).verdict(0, 300);
    EXPECT_EQ(verdict.due, 4U);
    EXPECT_EQ(verdict.missing + verdict.unexpected, 0U);
}

TEST(TellLedgerTest, LostOneAndDoubledOneDoNotMakeUpForEachOther)
{
    const auto verdict = fourSent({11.0, 11.5, 201.0, 202.0}).verdict(0, 300);
    EXPECT_EQ(verdict.missing, 1U);
    EXPECT_EQ(verdict.unexpected, 1U);
}

TEST(TellLedgerTest, DoubledOneIsUnexpectedThoughAnotherIsLostLater)
{
    const auto verdict = fourSent({11.0, 11.5, 11.5, 201.0}).verdict(0, 300);
    EXPECT_EQ(verdict.missing, 1U);
    EXPECT_EQ(verdict.unexpected, 1U);
}

TEST(TellLedgerTest, LateOneIsMissingAndUnexpected)
{
    const auto verdict = fourSent({11.0, 11.5, 101.0, 231.0}).verdict(0, 300);
    EXPECT_EQ(verdict.missing, 1U);
    EXPECT_EQ(verdict.unexpected, 1U);
}

TEST(TellLedgerTest, NothingIsDueThatWasSentBeforeTheLifeOrBehindIt)
{
    EXPECT_EQ(fourSent({}).verdict(50, 150).due, 1U);
    EXPECT_EQ(fourSent({}).verdict(50, 150).missing, 1U);
    EXPECT_EQ(fourSent({101.0, 201.0}).verdict(50, 150).unexpected, 0U);
}

TEST(AnswerLedgerTest, LostAnswerAndDoubledOneDoNotMakeUpForEachOther)
{
    AnswerLedger ledger;
    ledger.addAsked(1, 10.0);
    ledger.addAsked(2, 11.0);
    ledger.addAnswer(1);
    ledger.addAnswer(1);
    const auto verdict = ledger.verdict(100.0);
    EXPECT_EQ(verdict.due, 2U);
    EXPECT_EQ(verdict.missing, 1U);
    EXPECT_EQ(verdict.unexpected, 1U);
}

TEST(AnswerLedgerTest, AnswerToNothingIsUnexpected)
{
    AnswerLedger ledger;
    ledger.addAnswer(0);
    EXPECT_EQ(ledger.verdict(100.0).unexpected, 1U);
    EXPECT_EQ(ledger.verdict(100.0).due, 0U);
}

TEST(AnswerLedgerTest, NothingIsDueThatWasAskedLater)
{
    AnswerLedger ledger;
    ledger.addAsked(1, 90.0);
    EXPECT_EQ(ledger.verdict(80.0).due, 0U);
    EXPECT_EQ(ledger.verdict(100.0).missing, 1U);
    ledger.addAnswer(1);
    EXPECT_EQ(ledger.verdict(80.0).unexpected, 0U);
}

TEST(PartNumberLedgerTest, RequestsEveryTenSecondsAndTheConfigurationAreAllThatIsDue)
{
    PartNumberLedger ledger = threeRequests();
    ledger.addConfiguration(23.4);
    const auto verdict = ledger.verdict(0, 100);
    EXPECT_EQ(verdict.requests, 3U);
    EXPECT_EQ(verdict.unanswered, 2U);
    EXPECT_EQ(verdict.missing + verdict.needless, 0U);
}

TEST(PartNumberLedgerTest, RequestsThatStopAreMissing)
{
    PartNumberLedger ledger;
    ledger.addSilence("GPS", true);
    ledger.addRequest(2.0);
    EXPECT_EQ(ledger.verdict(0, 14).missing, 0U);
    EXPECT_EQ(ledger.verdict(0, 100).missing, 1U);
    EXPECT_EQ(PartNumberLedger().verdict(0, 100).missing, 1U);
}

TEST(PartNumberLedgerTest, RequestThatComesLateIsMissing)
{
    PartNumberLedger ledger;
    ledger.addSilence("GPS", true);
    ledger.addRequest(2.0);
    ledger.addRequest(22.0);
    EXPECT_EQ(ledger.verdict(0, 30).missing, 1U);
}

TEST(PartNumberLedgerTest, RequestThatComesEarlyIsNeedless)
{
    PartNumberLedger ledger;
    ledger.addSilence("GPS", true);
    ledger.addRequest(2.0);
    ledger.addRequest(7.0);
    EXPECT_EQ(ledger.verdict(0, 15).needless, 1U);
}

TEST(PartNumberLedgerTest, RequestWhenAllIsKnownIsNeedless)
{
    PartNumberLedger ledger = threeRequests();
    ledger.addConfiguration(23.4);
    ledger.addRequest(33.0);
    EXPECT_EQ(ledger.verdict(0, 100).needless, 1U);
}

TEST(PartNumberLedgerTest, ConfigurationThatIsNotToldIsMissing)
{
    EXPECT_EQ(threeRequests().verdict(0, 100).missing, 1U);
}

TEST(PartNumberLedgerTest, ConfigurationIsNeedlessBeforeAllHaveAnsweredAndLongAfter)
{
    PartNumberLedger ledger = threeRequests();
    ledger.addConfiguration(13.0);
    ledger.addConfiguration(23.4);
    ledger.addConfiguration(23.5);
    ledger.addConfiguration(40.0);
    EXPECT_EQ(ledger.verdict(0, 100).missing, 0U);
    EXPECT_EQ(ledger.verdict(0, 100).needless, 2U);
}

TEST(GrowthTest, LastQuarterIsHeldAgainstTheSecond)
{
    std::vector<Holdings> samples(8, {1000.0, 5.0, 20.0});
    samples[6] = samples[7] = {1400.0, 6.0, 22.0};
    const auto growth = growthOf(samples, Quarter::Second);
    ASSERT_TRUE(growth);
    EXPECT_EQ(growth->residentKb, 400.0);
    EXPECT_EQ(growth->threads, 1.0);
    EXPECT_EQ(growth->descriptors, 2.0);
}

TEST(GrowthTest, WhatHasGrownInTheFirstHalfIsNoGrowthSinceTheThirdQuarter)
{
    std::vector<Holdings> samples(8, {1400.0, 5.0, 20.0});
    samples[2] = samples[3] = {1000.0, 5.0, 20.0};
    EXPECT_EQ(growthOf(samples, Quarter::Second)->residentKb, 400.0);
    EXPECT_EQ(growthOf(samples, Quarter::Third)->residentKb, 0.0);
}

TEST(GrowthTest, CourseIsTheLeastOfEachEighth)
{
    std::vector<Holdings> samples;
    for (int i = 0; i < 17; ++i) samples.push_back({100.0 * i, 1.0, 1.0});
    EXPECT_EQ(eighthsOf(samples), (std::vector<double>{0, 200, 400, 600, 800, 1000, 1200, 1400}));
    EXPECT_TRUE(eighthsOf(std::vector<Holdings>(7)).empty());
}

TEST(GrowthTest, SevenSamplesTellNothing)
{
    EXPECT_FALSE(growthOf(std::vector<Holdings>(7), Quarter::Second));
}

TEST(PaceTest, FirstPaceAtWhichAllIsWellIsTaken)
{
    EXPECT_EQ(firstPace({800, 400, 200}, [](std::int64_t pace) { return pace <= 400; }), 400);
}

TEST(PaceTest, NoneIsTakenWhereAllIsWellAtNone)
{
    EXPECT_FALSE(firstPace({800, 400, 200}, [](std::int64_t) { return false; }));
}

TEST(StallWatchTest, SleepThatIsMuchTooLongForTheUnitIsAStall)
{
    EXPECT_TRUE(StallWatch::stallOf(100.0, 101.0, 0.01));  // at a pace of 100, 9.5 ms late
    EXPECT_FALSE(StallWatch::stallOf(100.0, 100.1, 0.001));
    EXPECT_FALSE(StallWatch::stallOf(100.0, 100.0105, 0.0105));  // in real time
}

TEST(StallWatchTest, BusyThreadOfTheUnitIsNoStandstill)
{
    using Clock = std::chrono::steady_clock;
    const sched_param first{1};
    if (sched_setscheduler(0, SCHED_FIFO, &first) != 0) GTEST_SKIP() << "needs the right to real-time priority";
    cpu_set_t own;
    CPU_ZERO(&own);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &own);
    sched_setaffinity(0, sizeof own, &own);  // and of the watch, which has one thread then
    StallWatch watch(
        [] { return [begin = Clock::now()] { return std::chrono::duration<double>(Clock::now() - begin).count(); }; });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // it begins
    for (const auto end = Clock::now() + std::chrono::milliseconds(300); Clock::now() < end;) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // it is late, if it waited
    EXPECT_TRUE(watch.take().empty());
}

TEST(StallWatchTest, WatchSeesNoStallWhereTimeStandsStill)
{
    StallWatch watch([] { return [] { return 5.0; }; });
    EXPECT_TRUE(watch.take().empty());
}

TEST(StallWatchTest, WatchSeesStallsWhereTimeLeaps)
{
    StallWatch watch([] { return [seconds = 0.0]() mutable { return seconds += 1000.0; }; });
    std::size_t seen = 0;
    EXPECT_TRUE(eventually([&] { return (seen += watch.take().size()) > 3; }));
}
