#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"

#include <cstring>
#include <ctime>
#include <functional>
#include <stdexcept>
#include <streambuf>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

struct BitCycleTest : BitResultsTest {
    const VapntcBitResult& row(const std::string& id = "0")
    {
        m_row = get({id});
        return m_row->results[0];
    }

    /// Asks for a test and starts it.
    void run(int timeoutSeconds = 25, bool debug = false)
    {
        start(timeoutSeconds, debug);
        execute();
        cycle();
        ASSERT_EQ(statusOf("0"), 1);
    }

private:
    std::shared_ptr<const VapntcBitResults> m_row;
};

/// Runs an action before each write to the console.
class BeforeWrites : std::streambuf {
public:
    explicit BeforeWrites(std::function<void()> action) : m_action(std::move(action)), m_console(std::cout.rdbuf(this))
    {}
    ~BeforeWrites() override { std::cout.rdbuf(m_console); }

private:
    std::streamsize xsputn(const char* characters, std::streamsize count) override
    {
        m_action();
        return m_console->sputn(characters, count);
    }

    const std::function<void()> m_action;
    std::streambuf* const m_console;
};

const char* const kTimeoutEvent = "4:OrvaneBitResults: Timeout ";

bool s_hasCalendar = true;  // as long as the system converts times

}  // namespace

extern "C" {
std::tm* __real_localtime_r(const std::time_t* time, std::tm* calendar);
std::tm* __wrap_localtime_r(const std::time_t* time, std::tm* calendar);

std::tm* __wrap_localtime_r(const std::time_t* time, std::tm* calendar)
{
    return s_hasCalendar ? __real_localtime_r(time, calendar) : nullptr;
}
}

TEST_F(BitCycleTest, StoppedNothingStarts)
{
    start();
    execute();
    results.Stop();
    cycle();
    EXPECT_THAT(commands, IsEmpty());
    results.Start();
    EXPECT_EQ(statusOf("0"), 0);
    cycle();
    EXPECT_EQ(statusOf("0"), 1);
}

TEST_F(BitCycleTest, WithoutATestNothingIsSent)
{
    start();
    cycle();
    EXPECT_THAT(commands, IsEmpty());
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(BitCycleTest, QueuedTestStartsWithOneCommandForAllSensors)
{
    run();
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT,57,39,38"));
    cycle(1);
    EXPECT_EQ(commands.size(), 1u);
}

TEST_F(BitCycleTest, SensorWithoutAComponentIsListedAsZero)
{
    writeSensors({SensorText("a", "0x39"), SensorText("b", "0x27").set("HasComponentConfigurationId", "false")});
    run();
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT,57,0"));
}

TEST_F(BitCycleTest, WithoutSensorsTheCommandStandsAlone)
{
    writeSensors({});
    run();
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT"));
}

TEST_F(BitCycleTest, CommandIsSentWithNoLockHeldAndTheTestInProgress)
{
    start();
    results.setCommandResponseMessageCallback([this](const std::string&) {
        EXPECT_EQ(sensors().size(), 3u);
        EXPECT_EQ(statusOf("0"), 1);
        results.UpdateBitReport(reportOf(true));
        return true;
    });
    execute();
    cycle();
    EXPECT_EQ(statusOf("0"), 3);
}

TEST_F(BitCycleTest, TestsRunInTheOrderOfTheirIdsOneAtATime)
{
    start();
    for (int i = 0; i < 11; ++i) execute();
    for (int i = 0; i < 11; ++i) {
        cycle();
        EXPECT_EQ(commands.size(), static_cast<std::size_t>(i + 1));
        EXPECT_EQ(statusOf(std::to_string(i)), 1);
        EXPECT_EQ(statusOf(std::to_string(i + 1)), 0);
        cycle();
        EXPECT_EQ(commands.size(), static_cast<std::size_t>(i + 1));
        results.UpdateBitReport(reportOf(true));
    }
}

TEST_F(BitCycleTest, LimitOfTwentyFiveEndsTheTestAfterTwentyFiveWholeSeconds)
{
    run(25);
    cycle(24);
    EXPECT_EQ(statusOf("0"), 1);
    EXPECT_THAT(events(), IsEmpty());
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
    EXPECT_THAT(events(), ElementsAre(kTimeoutEvent));
    EXPECT_THAT(console.text(), HasSubstr("OrvaneBitResults: Timeout \n"));
}

TEST_F(BitCycleTest, SecondsAreCountedOnceHoweverManyTurnsTheyTake)
{
    run(3);
    for (int second = 0; second < 2; ++second) {
        cycle(1);
        for (int turn = 0; turn < 3; ++turn) cycle();
    }
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, TimeInIdleTurnsDoesNotCount)
{
    start(5);
    cycle();
    cycle(1000);
    execute();
    cycle(1000);
    cycle(4);
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, LimitOfZeroEndsTheTestInTheNextTurn)
{
    run(0);
    cycle();
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, TurnThatEndsATestStartsNone)
{
    run(5);
    execute();
    cycle(5);
    EXPECT_EQ(commands.size(), 1u);
    EXPECT_EQ(statusOf("1"), 0);
    cycle();
    EXPECT_EQ(commands.size(), 2u);
    EXPECT_EQ(statusOf("1"), 1);
    EXPECT_EQ(events().size(), 1u);
}

TEST_F(BitCycleTest, FailedTestTellsCodeAndName)
{
    run(5);
    cycle(5);
    EXPECT_EQ(row().status, 2);
    EXPECT_EQ(row().resultCode, 2);
    EXPECT_STREQ(row().name, "Halvex");
    EXPECT_EQ(row().namePresent, 1u);
    EXPECT_EQ(row().sensorCount, 0);
}

TEST_F(BitCycleTest, TimeoutIsAnEventAndALineBeforeTheTestFails)
{
    run(5);
    std::vector<std::string> order;
    {
        const BeforeWrites hook([&] {
            order = events();
            order.push_back("status " + std::to_string(statusOf("0")));
        });
        cycle(5);
    }
    EXPECT_THAT(order, ElementsAre(kTimeoutEvent, "status 1"));
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, ReportThatComesWhileTheTimeoutIsToldIsTooLate)
{
    run(5);
    {
        const BeforeWrites hook([this] { results.UpdateBitReport(reportOf(true, {component(39)})); });
        cycle(5);
    }
    EXPECT_EQ(row().status, 2);
    EXPECT_EQ(row().sensorCount, 0);
    execute();
    cycle();
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(statusOf("1"), 3);
}

TEST_F(BitCycleTest, WallClockStepsChangeTheTimeLeft)
{
    run(10);
    cycle(-100);
    cycle(109);
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);

    execute();
    cycle();
    cycle(3600);
    EXPECT_EQ(statusOf("1"), 2);
}

TEST_F(BitCycleTest, ClockBeyondThirtyTwoBitsCountsOn)
{
    s_time = 2'147'483'646;
    run(10);
    cycle(9);
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, HugeStepBackSaturates)
{
    run(2'147'483'647);
    cycle(-2'000'000'000);
    cycle(2'147'483'646);
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, StopFreezesTheCountAndThePauseIsOneStep)
{
    run(10);
    cycle(4);
    results.Stop();
    cycle(3);
    cycle(2);
    results.Start();
    EXPECT_EQ(statusOf("0"), 1);
    cycle();
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, CommandThatIsNotSentFailsTheTest)
{
    start();
    isSent = false;
    execute();
    execute();
    cycle();
    EXPECT_EQ(row().status, 2);
    EXPECT_EQ(row().resultCode, 2);
    EXPECT_STREQ(row().name, "Halvex");
    const std::string text = "OrvaneBitResults: Send CBIT Cmd failed: REQUEST_CBIT,57,39,38";
    EXPECT_THAT(events(), ElementsAre("4:" + text));
    EXPECT_EQ(console.text(), text + "\n");
    isSent = true;
    cycle();
    EXPECT_EQ(statusOf("1"), 1);
}

TEST_F(BitCycleTest, WithoutASenderTheTestFails)
{
    start();
    results.setCommandResponseMessageCallback(nullptr);
    execute();
    cycle();
    EXPECT_EQ(statusOf("0"), 2);
    EXPECT_EQ(events().size(), 1u);
}

TEST_F(BitCycleTest, SenderThatThrowsLeavesTheTestToItsLimit)
{
    start(5);
    results.setCommandResponseMessageCallback([](const std::string&) -> bool { throw std::runtime_error("broken"); });
    execute();
    EXPECT_THROW(cycle(), std::runtime_error);
    EXPECT_EQ(statusOf("0"), 1);
    cycle(4);  // of the five that it got before the command was to be sent
    EXPECT_EQ(statusOf("0"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, StartTimeIsToldInTheRawWordsOfTheCalendar)
{
    s_time = 1'700'000'000;
    s_steady = 500'000'000'000;
    s_system = 1'700'000'000'250'000'000;
    run();
    const VapntcTime& time = row().startTime;  // 3,399,999,500 s: 2077-09-27 20:18:20, a Monday
    EXPECT_EQ(time.year, 177u);
    EXPECT_EQ(time.month, 8u);
    EXPECT_EQ(time.day, 27u);
    EXPECT_EQ(time.reserved12, 1u);
    EXPECT_EQ(time.hour, 20u);
    EXPECT_EQ(time.minute, 18u);
    EXPECT_EQ(time.seconds, 20u);
    EXPECT_EQ(time.nanoseconds, 0u);
}

TEST_F(BitCycleTest, StartTimeIsLocal)
{
    ::setenv("TZ", "XXX-2", 1);
    ::tzset();
    s_time = 0;
    run();
    EXPECT_EQ(row().startTime.hour, 2u);
    EXPECT_EQ(row().startTime.year, 70u);
}

TEST_F(BitCycleTest, StartTimeThatHasNoCalendarIsZero)
{
    s_hasCalendar = false;
    run();
    s_hasCalendar = true;
    const VapntcTime none{};
    EXPECT_EQ(std::memcmp(&row().startTime, &none, sizeof none), 0);
    EXPECT_EQ(row().status, 1);
}

TEST_F(BitCycleTest, QueuedTestHasNoStartTime)
{
    start();
    execute();
    const VapntcTime none{};
    EXPECT_EQ(std::memcmp(&row().startTime, &none, sizeof none), 0);
}

TEST_F(BitCycleTest, ReportPassesTheTestByItsRollup)
{
    run();
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(row().status, 3);
    EXPECT_EQ(row().resultCode, 3);
    EXPECT_STREQ(row().name, "Halvex");
    EXPECT_EQ(row().namePresent, 1u);
}

TEST_F(BitCycleTest, ReportFailsTheTestByItsRollup)
{
    run();
    results.UpdateBitReport(reportOf(false, {component(57)}));
    EXPECT_EQ(row().status, 2);
    EXPECT_EQ(row().resultCode, 2);
    EXPECT_EQ(row().sensors[0].status, 3);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(BitCycleTest, PassedTestMayHoldAFailedSensor)
{
    run();
    Component failed = component(39);
    failed.error_received(true);
    results.UpdateBitReport(reportOf(true, {failed}));
    EXPECT_EQ(row().status, 3);
    ASSERT_EQ(row().sensorCount, 1);
    EXPECT_STREQ(row().sensors[0].sensorId, "IMU");
    EXPECT_EQ(row().sensors[0].status, 2);
    EXPECT_STREQ(row().sensors[0].text, "");
    EXPECT_EQ(row().sensors[0].textPresent, 0u);
}

TEST_F(BitCycleTest, SensorPassesIfItHasCommunicatedWithoutErrorAndCritical)
{
    run();
    const auto with = [](void (*change)(Component&)) {
        Component changed = component(39);
        change(changed);
        return changed;
    };
    results.UpdateBitReport(
        reportOf(true, {component(39), component(39, false), with([](Component& c) { c.warn_received(true); }),
                        with([](Component& c) { c.error_received(true); }),
                        with([](Component& c) { c.critical_received(true); })}));
    std::vector<int> statuses;
    for (int i = 0; i < row().sensorCount; ++i) statuses.push_back(row().sensors[i].status);
    EXPECT_THAT(statuses, ElementsAre(3, 2, 3, 2, 2));
}

TEST_F(BitCycleTest, RowsFollowTheReportAndInItTheListOfSensors)
{
    writeSensors({SensorText("a", "0x27"), SensorText("b", "0x26"), SensorText("c", "0x27")});
    run();
    results.UpdateBitReport(reportOf(true, {component(38), component(99), component(39)}));
    ASSERT_EQ(row().sensorCount, 3);
    EXPECT_STREQ(row().sensors[0].sensorId, "b");
    EXPECT_STREQ(row().sensors[1].sensorId, "a");
    EXPECT_STREQ(row().sensors[2].sensorId, "c");
}

TEST_F(BitCycleTest, ComponentWithoutASensorAddsNoRow)
{
    writeSensors({SensorText("a", "0x27").set("HasComponentConfigurationId", "false")});
    run();
    results.UpdateBitReport(
        reportOf(true, {component(99), component(39), component(0), component(-1), component(65575)}));
    EXPECT_EQ(row().sensorCount, 0);
}

TEST_F(BitCycleTest, FiftyFirstSensorRowIsDroppedWithOneEvent)
{
    writeSensors(manySensors(60));
    run();
    std::vector<Component> components;
    for (int i = 0; i < 60; ++i) components.push_back(component(100 + i));
    results.UpdateBitReport(reportOf(true, components));
    EXPECT_EQ(row().sensorCount, 50);
    EXPECT_STREQ(row().sensors[49].sensorId, "S49");
    EXPECT_THAT(
        events(),
        ElementsAre("3:OrvaneBitResults: Warning, more than 50 sensor results for test Id 0. The rest is dropped."));
}

TEST_F(BitCycleTest, FiftySensorRowsAreNoWarning)
{
    writeSensors(manySensors(50));
    run();
    std::vector<Component> components;
    for (int i = 0; i < 50; ++i) components.push_back(component(100 + i));
    results.UpdateBitReport(reportOf(true, components));
    EXPECT_EQ(row().sensorCount, 50);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(BitCycleTest, OnlyTopicIdOneEndsATest)
{
    run();
    for (const int deviceId : {0, 2, 0x100, 0x01020300, 0x010203FF})
        results.UpdateBitReport(reportOf(true, {}, deviceId));
    EXPECT_EQ(statusOf("0"), 1);
    results.UpdateBitReport(reportOf(true, {}, static_cast<int>(0xFF35CC01u)));
    EXPECT_EQ(statusOf("0"), 3);
}

TEST_F(BitCycleTest, ReportWhileStoppedIsDropped)
{
    run();
    results.Stop();
    results.UpdateBitReport(reportOf(true));
    results.Start();
    EXPECT_EQ(statusOf("0"), 1);
}

TEST_F(BitCycleTest, ReportWithoutARunningTestIsDropped)
{
    start();
    execute();
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(statusOf("0"), 0);
}

TEST_F(BitCycleTest, ReportAfterTheTimeoutIsDropped)
{
    run(5);
    cycle(5);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(statusOf("0"), 2);
}

TEST_F(BitCycleTest, SecondReportChangesNothing)
{
    run();
    results.UpdateBitReport(reportOf(true, {component(39)}));
    results.UpdateBitReport(reportOf(false, {component(39)}));
    EXPECT_EQ(statusOf("0"), 3);
    EXPECT_EQ(row().sensorCount, 1);
}

TEST_F(BitCycleTest, NextTestGetsTheWholeLimit)
{
    run(10);
    cycle(8);
    results.UpdateBitReport(reportOf(true));
    execute();
    cycle();
    cycle(9);
    EXPECT_EQ(statusOf("1"), 1);
    cycle(1);
    EXPECT_EQ(statusOf("1"), 2);
}

TEST_F(BitCycleTest, FailWithoutARunningTestTouchesNoRecord)
{
    start();
    finishOne();
    execute();
    results.failCurrentBit();
    EXPECT_EQ(statusOf("0"), 3);
    EXPECT_EQ(statusOf("1"), 0);
}

TEST_F(BitCycleTest, FailEndsTheRunningTest)
{
    run();
    results.failCurrentBit();
    EXPECT_EQ(statusOf("0"), 2);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(statusOf("0"), 2);
}

// Two finished, the first cleared, so that the running test's id comes again.
TEST_F(BitCycleTest, ReplacedRunningTestFreesTheWayAtItsLimit)
{
    start(5);
    finishOne();
    execute();
    cycle();
    ASSERT_EQ(statusOf("1"), 1);
    ASSERT_EQ(clear({"0"}), 1);
    ASSERT_EQ(execute(), "1");
    ASSERT_EQ(statusOf("1"), 0);

    results.UpdateBitReport(reportOf(true));
    cycle(4);
    EXPECT_EQ(statusOf("1"), 0);
    cycle(1);
    EXPECT_THAT(events(), ElementsAre(kTimeoutEvent));
    EXPECT_EQ(statusOf("1"), 0);
    cycle();
    EXPECT_EQ(statusOf("1"), 1);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(statusOf("1"), 3);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(BitCycleTest, DebugFollowsATestToItsReport)
{
    writeSensors({});
    run(25, true);
    cycle(2);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(console.text(), "m_serverCount =  0\n"
                              "CBIT started for request->m_vapntcBitResult.builtInTestId = 0\n"
                              "sending CBIT command: REQUEST_CBIT\n"
                              "CBIT in-progress. m_secondsRemaining = 23\n"
                              "Received BitReport. CBIT report completed for test Id 0\n");
}

TEST_F(BitCycleTest, DebugFollowsATestToItsTimeout)
{
    writeSensors({});
    run(5, true);
    cycle(7);
    EXPECT_THAT(console.text(), testing::EndsWith("CBIT in-progress. m_secondsRemaining = -2\n"
                                                  "CBIT timeout expired.\n"
                                                  "OrvaneBitResults: Timeout \n"));
}

TEST_F(BitCycleTest, WithoutDebugATestIsSilent)
{
    run();
    cycle(2);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(console.text(), "");
}
