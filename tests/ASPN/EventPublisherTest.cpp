#include "ASPN/AspnDeviceIds.h"
#include "ASPN/HealthReporter.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "platform/FPGA.h"
#include "tests/platform/FpgaDesk.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/OneConnection.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;
using aspn2_msgs::idl::EventLog;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr HealthReporter::Times kQuick{10ms, 300s, 1ms};

struct EventPublisherTest : testing::Test {
    void init(HealthReporter& other, const std::string& name = "unit") const
    {
        connection.registerSender();
        other.InitHealthReporter(name, deviceIds, connection.front(), connection.id());
    }
    void init() { init(reporter); }

    /// All that arrived, as "<sequence number> <type> <text>".
    std::vector<std::string> arrived() const
    {
        std::vector<std::string> texts;
        for (const auto& item : connection.inbox.items())
            texts.push_back(std::to_string(item.message.header().seq_num()) + " " +
                            std::to_string(item.message.event_log_type()) + " " + item.message.eventlog());
        return texts;
    }

    const HardDeadline deadline;  // that a publisher that does not end meets too
    const ASPN2::DeviceIdFactory deviceIds{3, 52};
    OneConnection<EventLog> connection{"EventLog"};
    FaultHysteresis hysteresis;
    HealthReporter reporter{hysteresis, &ASPN2::EventQueue::Clock::now, kQuick};
};

}  // namespace

TEST_F(EventPublisherTest, ANullTransportIsRefusedAndNothingIsInitialised)
{
    const auto init = [&](const std::shared_ptr<HealthReporter::Transport>& transport) {
        reporter.InitHealthReporter("unit", deviceIds, transport, connection.id());
    };
    EXPECT_EQ(errorOf([&] { init(nullptr); }), "InitHealthReporter(unit) called with an empty eventLogTypedTS.");
    EXPECT_EQ(errorOf([&] { init(connection.front()); }), "nothing");
    EXPECT_EQ(errorOf([&] { init(nullptr); }), "InitHealthReporter(unit) called with an empty eventLogTypedTS.");
}

TEST_F(EventPublisherTest, ThePublisherTurnsWithoutEventsTooAndRestsAtItsEnd)
{
    EXPECT_EQ(reporter.pulse().turns(), ThreadPulse::kAtRest);
    init();
    EXPECT_TRUE(eventually([&] { return reporter.pulse().turns() >= 3; }));
    reporter.SendEvent("c.cpp", 1, 1, "first");
    ASSERT_TRUE(connection.inbox.waitFor(1));
    const auto before = reporter.pulse().turns();
    EXPECT_TRUE(eventually([&] { return reporter.pulse().turns() > before; }));
    reporter.DoneHealthReporter();
    EXPECT_EQ(reporter.pulse().turns(), ThreadPulse::kAtRest);
}

TEST_F(EventPublisherTest, ASecondInitThrowsAndLeavesTheFirstIntact)
{
    const ConsoleCapture output(std::cout);
    init();
    reporter.SendEvent("c.cpp", 1, 1, "first");
    ASSERT_TRUE(connection.inbox.waitFor(1));
    hysteresis.OkInitFaultHysteresis(0, 0, 0);
    OneConnection<EventLog> other("EventLog", "Other");
    EXPECT_EQ(errorOf([&] {
                  reporter.InitHealthReporter("second", {1, 1}, other.front(), other.id());
              }),
              "InitHealthReporter(second) called on an already initialized HealthReporter.");
    reporter.SendEvent("c.cpp", 1, 3, "still here");
    ASSERT_TRUE(connection.inbox.waitFor(2));
    EXPECT_THAT(arrived(), ElementsAre("0 1 first", "1 3 still here"));
    EXPECT_EQ(connection.inbox.items()[1].message.header().device_id(), 0x03340100);
    EXPECT_EQ(other.inbox.size(), 0u);
    connection.unregisterSender();
    reporter.SendEvent("c.cpp", 1, 1, "lost");
    reporter.DoneHealthReporter();
    EXPECT_EQ(output.text(), "!!!!!! unit HealthReporter could not publish event type/info = 1/lost\n");
}

TEST_F(EventPublisherTest, WithoutASenderInitThrowsAndTheReporterCountsAsInitialised)
{
    const ConsoleCapture output(std::cout);
    const auto tryInit = [&](long long id) {
        return errorOf([&] { reporter.InitHealthReporter("unit", deviceIds, connection.front(), id); });
    };
    EXPECT_THAT(tryInit(77),
                MatchesRegex(".*HealthReporter\\.cpp\\[[0-9]+\\]:INVALID_PARAM InitHealthReporter\\(unit\\) unable to "
                             "register sender\\."));
    EXPECT_EQ(tryInit(connection.id()), "InitHealthReporter(unit) called on an already initialized HealthReporter.");
    reporter.DoneHealthReporter();
    EXPECT_EQ(tryInit(connection.id()), "nothing");
}

TEST_F(EventPublisherTest, AFailedInitRecordsNoFaults)
{
    const ConsoleCapture output(std::cout);
    errorOf([&] { reporter.InitHealthReporter("unit", deviceIds, connection.front(), 77); });
    reporter.SendEvent("c.cpp", 1, 3, "x");
    EXPECT_EQ(hysteresis.size(), 0u);
}

TEST_F(EventPublisherTest, ARecordTellsItsSourceTimeNumberTypeAndText)
{
    const FpgaDesk desk;
    desk.memory.setSystemCount(7 * 58'982'400);
    FpgaFace::Instance().InitFpga(desk.devmem);
    init();
    reporter.SendEvent("c.cpp", 1, 2, "text");
    ASSERT_TRUE(connection.inbox.waitFor(1));
    FpgaFace::Instance().DoneFpga();
    const EventLog record = connection.inbox.items()[0].message;
    EXPECT_EQ(record.header().device_id(), 0x03340100);
    EXPECT_EQ(record.header().seq_num(), 0);
    EXPECT_EQ(record.header().timestamp_valid().sec(), 6);
    EXPECT_EQ(record.header().timestamp_valid().nsec(), 999'999'992);
    EXPECT_EQ(record.header().timestamp_valid().time_code(), 100);
    EXPECT_EQ(record.header().timestamp_arrival().sec(), 6);
    EXPECT_EQ(record.header().timestamp_arrival().nsec(), 999'999'992);
    EXPECT_EQ(record.header().timestamp_arrival().time_code(), 100);
    EXPECT_EQ(record.event_log_type(), 2u);
    EXPECT_EQ(record.eventlog(), "text");
}

TEST_F(EventPublisherTest, WithoutRegistersTheStampIsThatOfNoTicks)
{
    init();
    reporter.SendEvent("c.cpp", 1, 2, "text");
    ASSERT_TRUE(connection.inbox.waitFor(1));
    const EventLog record = connection.inbox.items()[0].message;
    EXPECT_EQ(record.header().timestamp_valid().sec(), 0);
    EXPECT_EQ(record.header().timestamp_valid().nsec(), -8);
}

TEST_F(EventPublisherTest, EventsSentBeforeInitArePublishedAfterItInOrder)
{
    reporter.SendEvent("dir/c.cpp", 1, 3, "no place yet");
    for (const int i : {1, 2, 3}) reporter.SendEvent("c.cpp", 1, 1, std::to_string(i).c_str());
    reporter.SendConfigEvent("banner");
    EXPECT_EQ(connection.inbox.size(), 0u);
    init();
    ASSERT_TRUE(connection.inbox.waitFor(5));
    EXPECT_THAT(arrived(), ElementsAre("0 3 no place yet", "1 1 1", "2 1 2", "3 1 3", "4 2 banner"));
}

TEST_F(EventPublisherTest, FaultsHaveAPlaceAfterInit)
{
    init();
    for (const int type : {2, 3, 4, 5, 9}) reporter.SendEvent("a/b/c.cpp", 12, type, "x");
    ASSERT_TRUE(connection.inbox.waitFor(5));
    EXPECT_THAT(arrived(), ElementsAre("0 2 x", "1 3 c.cpp[12]:x", "2 4 c.cpp[12]:x", "3 5 c.cpp[12]:x", "4 0 x"));
}

TEST_F(EventPublisherTest, TenRecordsASecondLeaveAtTheMost)
{
    std::vector<std::chrono::steady_clock::time_point> arrivals;
    connection.onArrival = [&](const EventLog&) { arrivals.push_back(std::chrono::steady_clock::now()); };
    HealthReporter unhurried(hysteresis);
    for (int i = 0; i < 6; ++i) unhurried.SendEvent("c.cpp", 1, 1, "x");
    init(unhurried);
    ASSERT_TRUE(connection.inbox.waitFor(6));
    unhurried.DoneHealthReporter();
    ASSERT_EQ(arrivals.size(), 6u);
    for (std::size_t i = 1; i < arrivals.size(); ++i) EXPECT_GE(arrivals[i] - arrivals[i - 1], 100ms);
}

TEST_F(EventPublisherTest, WhatIsNotPublishedIsFollowedByThePauseToo)
{
    const ConsoleCapture output(std::cout);
    HealthReporter unhurried(hysteresis);
    init(unhurried);
    connection.unregisterSender();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 4; ++i) unhurried.SendEvent("c.cpp", 1, 1, "x");
    ASSERT_TRUE(eventually([&] { return unhurried.queue().size() == 0; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 300ms);
}

TEST_F(EventPublisherTest, ThePauseIsKeptWhenTheEndIsAskedForToo)
{
    std::vector<std::chrono::steady_clock::time_point> times;
    connection.onArrival = [&](const EventLog&) { times.push_back(std::chrono::steady_clock::now()); };
    HealthReporter ending(hysteresis, &ASPN2::EventQueue::Clock::now, {10ms, 300s, 30ms});
    for (int i = 0; i < 10; ++i) ending.SendEvent("c.cpp", 1, 1, "x");
    init(ending);
    ending.DoneHealthReporter();
    times.push_back(std::chrono::steady_clock::now());
    ASSERT_EQ(times.size(), 11u);
    for (std::size_t i = 1; i < times.size(); ++i) EXPECT_GE(times[i] - times[i - 1], 30ms) << i;
}

TEST_F(EventPublisherTest, EventsMayBeSentFromWithinAWrite)
{
    connection.onArrival = [&](const EventLog& record) {
        if (record.eventlog() != "first") return;
        reporter.SendEvent("c.cpp", 1, 1, "second");
        reporter.ReplaceConfigEvent("banner", reporter.SendConfigEvent("replaced"));
    };
    init();
    reporter.SendEvent("c.cpp", 1, 1, "first");
    ASSERT_TRUE(connection.inbox.waitFor(3));
    EXPECT_THAT(arrived(), ElementsAre("0 1 first", "1 1 second", "2 2 banner"));
}

TEST_F(EventPublisherTest, WithoutAPublisherEachEventIsALineAndANumber)
{
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    init();
    connection.unregisterSender();
    reporter.SendEvent("c.cpp", 1, 2, "lost");
    reporter.SendEvent("c.cpp", 12, 4, "lost too");
    const std::string lines = "!!!!!! unit HealthReporter could not publish event type/info = 2/lost\n"
                              "!!!!!! unit HealthReporter could not publish event type/info = 4/c.cpp[12]:lost too\n";
    ASSERT_TRUE(eventually([&] { return output.flushed() == lines; })) << output.text();
    connection.registerSender();
    reporter.SendEvent("c.cpp", 1, 2, "third");
    ASSERT_TRUE(connection.inbox.waitFor(1));
    EXPECT_THAT(arrived(), ElementsAre("2 2 third"));
    EXPECT_EQ(output.text(), lines);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(EventPublisherTest, TheTransportIsKeptUntilDone)
{
    const ConsoleCapture output(std::cout);
    init();
    const std::weak_ptr<HealthReporter::Transport> transport = connection.front();
    EXPECT_FALSE(connection.end());  // the reporter holds it
    reporter.SendEvent("c.cpp", 1, 0, "published");
    EXPECT_TRUE(connection.inbox.waitFor(1));
    EXPECT_FALSE(transport.expired());
    reporter.DoneHealthReporter();
    EXPECT_TRUE(transport.expired());
    EXPECT_EQ(output.text(), "");
}

TEST_F(EventPublisherTest, WhatAWriteThrowsGoesToTheStandardErrorAndCountsAsFailure)
{
    connection.onArrival = [](const EventLog& record) {
        if (record.eventlog() == "standard") throw std::runtime_error("subscriber broke");
        if (record.eventlog() == "unknown") throw 5;
    };
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    init();
    for (const char* const text : {"standard", "unknown", "good"}) reporter.SendEvent("c.cpp", 1, 1, text);
    ASSERT_TRUE(connection.inbox.waitFor(1));
    EXPECT_THAT(arrived(), ElementsAre("2 1 good"));
    EXPECT_EQ(errors.text(), "subscriber broke\nunknown exception\n");
    EXPECT_EQ(output.text(), "!!!!!! unit HealthReporter could not publish event type/info = 1/standard\n"
                             "!!!!!! unit HealthReporter could not publish event type/info = 1/unknown\n");
}

TEST_F(EventPublisherTest, TextsAreNeverCut)
{
    init();
    reporter.SendEvent("c.cpp", 1, 1, std::string(255, 'a').c_str());
    reporter.SendEvent("c.cpp", 1, 1, std::string(256, 'b').c_str());
    reporter.SendEvent("c.cpp", 1, 3, std::string(300, 'c').c_str());
    ASSERT_TRUE(connection.inbox.waitFor(3));
    EXPECT_THAT(arrived(), ElementsAre("0 1 " + std::string(255, 'a'), "1 1 " + std::string(256, 'b'),
                                       "2 3 c.cpp[1]:" + std::string(300, 'c')));
}

TEST_F(EventPublisherTest, ARecordThatTheLibraryRefusesIsALine)
{
    struct Refusing : aspn2_msgs::idl::EventLogPubSubType {
        bool serialize(void*, eprosima::fastrtps::rtps::SerializedPayload_t*) override { return false; }
    };
    const ConsoleCapture output(std::cout);
    const Transport refusing(TransportConfig().connect("One", "EventLog"), "refusing",
                             [](const std::string&) -> FACE::TSS::HX_TSS::TopicDataType* { return new Refusing(); });
    const auto front = refusing.typed<EventLog>();
    reporter.InitHealthReporter("unit", deviceIds, front, refusing.connect("One"));
    reporter.SendEvent("c.cpp", 1, 2, "refused");
    reporter.DoneHealthReporter();
    EXPECT_EQ(output.text(), "!!!!!! unit HealthReporter could not publish event type/info = 2/refused\n");
}

TEST_F(EventPublisherTest, ConfigurationEventsArePublishedAgainAndAgain)
{
    HealthReporter repeating(hysteresis, &ASPN2::EventQueue::Clock::now, {1ms, 5ms, 1ms});
    init(repeating);
    repeating.SendConfigEvent("banner");
    ASSERT_TRUE(connection.inbox.waitFor(3));
    const std::vector<std::string> texts = arrived();
    EXPECT_THAT(std::vector(texts.begin(), texts.begin() + 3), ElementsAre("0 2 banner", "1 2 banner", "2 2 banner"));
}

TEST_F(EventPublisherTest, DonePublishesWhatIsQueued)
{
    init();
    for (int i = 0; i < 10; ++i) reporter.SendEvent("c.cpp", 1, 1, "x");
    for (int i = 0; i < 15; ++i) reporter.SendConfigEvent("banner");
    reporter.DoneHealthReporter();
    EXPECT_EQ(connection.inbox.size(), 25u);
    EXPECT_EQ(reporter.queue().size(), 0u);
}

TEST_F(EventPublisherTest, DoneWaitsForNoPoll)
{
    HealthReporter patient(hysteresis, &ASPN2::EventQueue::Clock::now, {1h, 300s, 1ms});
    init(patient);
    patient.SendEvent("c.cpp", 1, 1, "first");
    ASSERT_TRUE(connection.inbox.waitFor(1));  // and polls again
    patient.DoneHealthReporter();
    patient.SendEvent("c.cpp", 1, 1, "second");
    init(patient);
    ASSERT_TRUE(connection.inbox.waitFor(2));
    patient.DoneHealthReporter();
    EXPECT_THAT(arrived(), ElementsAre("0 1 first", "0 1 second"));
}

TEST_F(EventPublisherTest, TheDestructorPublishesWhatIsQueued)
{
    {
        HealthReporter shortLived(hysteresis, &ASPN2::EventQueue::Clock::now, kQuick);
        init(shortLived);
        for (int i = 0; i < 10; ++i) shortLived.SendEvent("c.cpp", 1, 1, "x");
    }
    EXPECT_EQ(connection.inbox.size(), 10u);
}

TEST_F(EventPublisherTest, DoneEndsThoughSendersFillTheQueueFasterThanItDrains)
{
    // A pause so long that this thread may stand still for a while between its look and the stop.
    HealthReporter slow(hysteresis, &ASPN2::EventQueue::Clock::now, {10ms, 300s, 100ms});
    std::jthread sender([&](const std::stop_token& stop) {  // ends before the reporter
        while (!stop.stop_requested()) slow.SendEvent("c.cpp", 1, 1, "x");
    });
    init(slow);
    ASSERT_TRUE(connection.inbox.waitFor(2));
    ASSERT_TRUE(eventually([&] { return slow.queue().size() == 10; }));
    const std::size_t before = connection.inbox.size();
    slow.DoneHealthReporter();
    const std::size_t after = connection.inbox.size();
    EXPECT_GE(after - before, 9u);
    EXPECT_LE(after - before, 22u);  // what was queued, the limit, and two that were under way
}

TEST_F(EventPublisherTest, DoneIsHarmlessWhereNothingIsToEnd)
{
    reporter.DoneHealthReporter();
    init();
    reporter.DoneHealthReporter();
    reporter.DoneHealthReporter();
    reporter.SendEvent("c.cpp", 1, 1, "waits");
    EXPECT_EQ(reporter.queue().size(), 1u);
    EXPECT_EQ(connection.inbox.size(), 0u);
}

TEST_F(EventPublisherTest, InitAfterDonePublishesAgainFromZero)
{
    init();
    reporter.SendEvent("c.cpp", 1, 1, "first");
    reporter.DoneHealthReporter();
    EXPECT_TRUE(connection.end());

    OneConnection<EventLog> other("EventLog");
    other.registerSender();
    reporter.InitHealthReporter("again", {1, 2}, other.front(), other.id());
    reporter.SendEvent("c.cpp", 1, 1, "second");
    ASSERT_TRUE(other.inbox.waitFor(1));
    EXPECT_EQ(other.inbox.items()[0].message.eventlog(), "second");
    EXPECT_EQ(other.inbox.items()[0].message.header().seq_num(), 0);
    EXPECT_EQ(other.inbox.items()[0].message.header().device_id(), 0x01020100);
    reporter.DoneHealthReporter();
}

TEST_F(EventPublisherTest, InitStartsTheRecordOfFaultsAnew)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 5);
    reporter.SendEvent("c.cpp", 1, 3, "x");
    init();
    EXPECT_EQ(hysteresis.size(), 0u);
    for (int i = 0; i < 2001; ++i) reporter.SendEvent("c.cpp", 1, 3, "x");
    EXPECT_EQ(hysteresis.size(), 2000u);
}

namespace {

std::chrono::steady_clock::time_point s_now;
std::atomic<int> s_polls = 0;

}  // namespace

TEST_F(EventPublisherTest, InitAfterDonePublishesBeyondAnEmptyPoll)
{
    const auto countPolls = [] {
        ++s_polls;
        return ASPN2::EventQueue::Clock::now();
    };
    HealthReporter counting(hysteresis, countPolls, kQuick);
    init(counting);
    counting.DoneHealthReporter();
    init(counting);
    ASSERT_TRUE(eventually([before = s_polls.load()] { return s_polls >= before + 3; }));
    counting.SendEvent("c.cpp", 1, 1, "late");
    EXPECT_TRUE(connection.inbox.waitFor(1));
    counting.DoneHealthReporter();
}

// A configuration event waits outside the queue until it is due, and is queued again by the poll alone.
TEST_F(EventPublisherTest, DoneLooksForEventsOnceMoreBehindTheLastOne)
{
    s_now = {};
    HealthReporter ending(
        hysteresis, [] { return s_now; }, kQuick);
    std::atomic<pid_t> ender = 0;
    std::thread end;
    connection.onArrival = [&](const EventLog&) {
        if (end.joinable()) return;
        end = std::thread([&] {
            ender = gettid();
            ending.DoneHealthReporter();
        });
        int looks = 0;  // in a row, at the thread asleep: it has asked for the end, and waits for it
        EXPECT_TRUE(eventually([&] { return (looks = ender != 0 && isAsleep(ender) ? looks + 1 : 0) == 5; }));
        s_now += 300s;
    };
    init(ending);
    ending.SendConfigEvent("banner");
    EXPECT_TRUE(connection.inbox.waitFor(1));
    EXPECT_TRUE(connection.inbox.waitFor(2));
    end.join();
    EXPECT_THAT(arrived(), ElementsAre("0 2 banner", "1 2 banner"));
}

TEST_F(EventPublisherTest, FaultsAreOnRecordForThreeMinutes)
{
    s_now = {};
    FaultHysteresis timed([] { return s_now; });
    HealthReporter other(timed, &ASPN2::EventQueue::Clock::now, kQuick);
    init(other);
    other.SendEvent("c.cpp", 1, 3, "x");
    s_now += 179'999ms;
    timed.service();
    EXPECT_EQ(timed.size(), 1u);
    s_now += 1ms;
    timed.service();
    EXPECT_EQ(timed.size(), 0u);
    other.DoneHealthReporter();
}

using EventPublisherDeathTest = EventPublisherTest;

TEST_F(EventPublisherDeathTest, RefusedNumbersEndTheProcessWhilePublishing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    HealthReporter refused(hysteresis, &ASPN2::EventQueue::Clock::now, kQuick, -1);
    refused.SendEvent("c.cpp", 1, 2, "x");
    const auto play = [&] {
        on_exit(
            [](int status, void* inbox) {
                if (static_cast<Inbox<EventLog>*>(inbox)->waitFor(1)) std::fputs("published", stderr);
                _exit(status);
            },
            &connection.inbox);
        init(refused);
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(255), "Unable to configure the Fault Hysteresis\n(.|\n)*published");
}

TEST(FaultHysteresisConfigurationDeathTest, RefusedNumbersEndTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    FaultHysteresis hysteresis;
    EXPECT_EXIT(initFaultHysteresisOrExit(hysteresis, -1, 16, 2000), testing::ExitedWithCode(255),
                "Unable to configure the Fault Hysteresis\n");
}

namespace {

std::atomic<int> s_failures = 0;

ASPN2::EventQueue::Clock::time_point failingClock()
{
    const int failure = s_failures.fetch_add(1);
    if (failure == 0) throw std::runtime_error("no clock");
    if (failure == 1) throw 5;
    return ASPN2::EventQueue::Clock::now();
}

}  // namespace

TEST_F(EventPublisherTest, AnExceptionIsALineAndThePublisherGoesOn)
{
    const ConsoleCapture output(std::cout);
    s_failures = 0;
    HealthReporter failing(hysteresis, failingClock, {10ms, 300s, 50ms});
    failing.SendEvent("c.cpp", 1, 1, "after all");
    connection.registerSender();
    const auto begin = std::chrono::steady_clock::now();
    failing.InitHealthReporter("unit", deviceIds, connection.front(), connection.id());
    ASSERT_TRUE(connection.inbox.waitFor(1));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);  // a pause behind each
    EXPECT_EQ(output.text(), "!!!!!! unit HealthReporter caught exception: no clock\n"
                             "!!!!!! unit HealthReporter caught UNKNOWN exception\n");
    EXPECT_THAT(arrived(), ElementsAre("0 1 after all"));
    failing.DoneHealthReporter();
}

TEST_F(EventPublisherTest, DoneEndsThoughEveryTurnFails)
{
    const ConsoleCapture output(std::cout);
    HealthReporter failing(
        hysteresis, []() -> ASPN2::EventQueue::Clock::time_point { throw std::runtime_error("no clock"); }, kQuick);
    init(failing);
    failing.SendEvent("c.cpp", 1, 1, "x");
    failing.DoneHealthReporter();
    EXPECT_THAT(output.text(), HasSubstr("caught exception: no clock\n"));
}

TEST_F(EventPublisherTest, SendersMayRaceWithEveryStartAndEnd)
{
    const ConsoleCapture output(std::cout);
    std::atomic<bool> isEnding = false;
    std::vector<std::thread> senders;
    for (int i = 0; i < 3; ++i)
        senders.emplace_back([&, i] {
            std::size_t hash = 0;
            for (int n = 0; !isEnding; ++n) {
                reporter.SendEvent("c.cpp", n, n % 7, "x");
                if (i == 0 && n % 64 == 0) hash = reporter.ReplaceConfigEvent("banner " + std::to_string(n), hash);
                std::this_thread::yield();
            }
        });
    const auto end = std::chrono::steady_clock::now() + 2s;
    int rounds = 0;
    for (; rounds < 3 || std::chrono::steady_clock::now() < end; ++rounds) {
        init();
        connection.unregisterSender();
        connection.registerSender();
        reporter.DoneHealthReporter();
        connection.unregisterSender();
    }
    isEnding = true;
    for (std::thread& sender : senders) sender.join();
    EXPECT_GT(connection.inbox.size(), 0u);
}
