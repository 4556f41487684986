#include "ASPN/HealthReporter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

std::string pop(HealthReporter& reporter)
{
    std::int32_t type = -1;
    std::string text;
    return reporter.queue().pop_front(type, text, std::chrono::nanoseconds(0)) ? std::to_string(type) + ":" + text
                                                                               : "none";
}

struct HealthReporterTest : testing::Test {
    FaultHysteresis hysteresis;
    HealthReporter reporter{hysteresis};
};

}  // namespace

TEST_F(HealthReporterTest, TypesZeroToFiveAreKept)
{
    for (int type = 0; type <= 5; ++type) reporter.SendEvent("c.cpp", 1, type, "x");
    for (int type = 0; type <= 5; ++type) EXPECT_EQ(pop(reporter), std::to_string(type) + ":x");
}

TEST_F(HealthReporterTest, AnyOtherTypeCountsAsZero)
{
    for (const std::int32_t type : {6, 9, 2147483647, -1, -2147483647 - 1}) {
        reporter.SendEvent("c.cpp", 1, type, "x");
        EXPECT_EQ(pop(reporter), "0:x");
    }
}

TEST_F(HealthReporterTest, FaultsGetThePlaceOnceTheyAreRecorded)
{
    reporter.SendEvent("dir/c.cpp", 7, 3, "before");
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    reporter.SendEvent("dir/c.cpp", 8, 3, "after");
    reporter.SendEvent("dir/c.cpp", 9, 2, "information");
    EXPECT_EQ(pop(reporter), "3:before");
    EXPECT_EQ(pop(reporter), "3:c.cpp[8]:after");
    EXPECT_EQ(pop(reporter), "2:information");
}

TEST_F(HealthReporterTest, AnUnknownTypeIsNeitherLocatedNorRecorded)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    reporter.SendEvent("dir/c.cpp", 8, 9, "x");
    EXPECT_EQ(pop(reporter), "0:x");
    EXPECT_EQ(hysteresis.size(), 0u);
}

TEST_F(HealthReporterTest, TheEleventhEventIsLostAndAConfigurationEventIsNot)
{
    for (int i = 0; i < 11; ++i) reporter.SendEvent("c.cpp", 1, 1, std::to_string(i).c_str());
    reporter.SendConfigEvent("banner");
    for (int i = 0; i < 10; ++i) EXPECT_EQ(pop(reporter), "1:" + std::to_string(i));
    EXPECT_EQ(pop(reporter), "2:banner");
    EXPECT_EQ(pop(reporter), "none");
}

TEST_F(HealthReporterTest, ADroppedFaultIsOnRecordAllTheSame)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    for (int i = 0; i < 12; ++i) reporter.SendEvent("c.cpp", 1, 3, "x");
    EXPECT_EQ(reporter.queue().size(), 10u);
    EXPECT_EQ(hysteresis.size(), 12u);
}

TEST_F(HealthReporterTest, ReplaceConfigEventTakesTheOldTextsPlace)
{
    const std::size_t old = reporter.SendConfigEvent("old");
    const std::size_t replaced = reporter.ReplaceConfigEvent("new", old);
    EXPECT_EQ(replaced, std::hash<std::string>{}("new"));
    EXPECT_EQ(pop(reporter), "2:new");
    EXPECT_EQ(pop(reporter), "none");
}

TEST_F(HealthReporterTest, ReplaceConfigEventWithAnUnknownHashJustAdds)
{
    reporter.SendConfigEvent("one");
    reporter.ReplaceConfigEvent("two", 1);
    EXPECT_EQ(pop(reporter), "2:one");
    EXPECT_EQ(pop(reporter), "2:two");
}

TEST_F(HealthReporterTest, ConfigurationEventsRepeatAfterThreeHundredSeconds)
{
    static ASPN2::EventQueue::Clock::time_point s_now;
    s_now = ASPN2::EventQueue::Clock::time_point(std::chrono::seconds(1000));
    HealthReporter timed(hysteresis, [] { return s_now; });
    timed.SendConfigEvent("banner");
    EXPECT_EQ(pop(timed), "2:banner");
    s_now += std::chrono::milliseconds(299'999);
    EXPECT_EQ(pop(timed), "none");
    s_now += std::chrono::milliseconds(1);
    EXPECT_EQ(pop(timed), "2:banner");
}

TEST_F(HealthReporterTest, NullTextsCountAsEmpty)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 2000);
    reporter.SendEvent(nullptr, 5, 3, nullptr);
    EXPECT_EQ(pop(reporter), "3:[5]:");
}

TEST_F(HealthReporterTest, AnyThreadMaySend)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 100);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) reporter.SendEvent("c.cpp", i, 3, "x");
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(reporter.queue().size(), 10u);
    EXPECT_EQ(hysteresis.size(), 100u);
}

TEST(HealthReporterInstanceTest, TheMacroSendsFromWhereItStands)
{
    FaultHysteresis::Instance().OkInitFaultHysteresis(180, 16, 2000);
    SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, "x");
    EXPECT_EQ(pop(HealthReporter::Instance()), "3:HealthReporterTest.cpp[" + std::to_string(__LINE__ - 1) + "]:x");
}

TEST(HealthReporterInstanceTest, TypesAreSharedUnderTwoNames)
{
    static_assert(std::is_same_v<HealthReporter::eEventType, EventTypes::eEventType>);
}

TEST(HealthReporterInstanceTest, PollsByHalfSecondsPausesATenthAndRepeatsByFiveMinutes)
{
    EXPECT_EQ(HealthReporter::eventQPollDuration.count(), 500'000'000);
    EXPECT_EQ(HealthReporter::configRepeatDuration.count(), 300'000'000'000);
    EXPECT_EQ(HealthReporter::kTimes.poll, std::chrono::milliseconds(500));
    EXPECT_EQ(HealthReporter::kTimes.repeat, std::chrono::seconds(300));
    EXPECT_EQ(HealthReporter::kTimes.pause, std::chrono::milliseconds(100));
}
