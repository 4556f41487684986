#include "lab/ctl/record/RecordRing.h"
#include "aspn2_msgs/EventLog.h"
#include "tests/lab/mcap/Recordings.h"

#include <gtest/gtest.h>

using namespace orvanectl;
using namespace recordings;
using aspn2_msgs::idl::EventLog;
using std::chrono::milliseconds;

namespace {

RecordRing::Time at(int millisecond)
{
    return RecordRing::Time(milliseconds(millisecond));
}

Sample eventOfType(std::uint32_t type)
{
    auto record = std::make_shared<EventLog>();
    record->event_log_type(static_cast<aspn2_msgs::idl::event_log_type_enum>(type));
    Sample sample{0, {}, record};
    sample.arrival.sequenceNumber = 5;
    sample.sent = 900;
    return sample;
}

/// Keeps two seconds of the topic "Log", the queue "ZEN_HX" and the bus.
struct RecordRingTest : testing::Test {
    /// The messages that a recorder is given.
    std::vector<std::string> written()
    {
        TextOutput output;
        Recorder recorder(output, topics, {"ZEN_HX"}, {});
        ring.writeTo(recorder);
        recorder.close({});
        return readingOf(output.text).messages;
    }

    const std::vector<WatchedTopic> topics = {{"Log", findRecordType("EventLog")}};
    RecordRing ring{topics, 2};
};

}  // namespace

TEST_F(RecordRingTest, WhatIsOlderIsLeftOut)
{
    ring.turn(at(0));
    ring.takeBusLine("old", 1);
    ring.turn(at(100));
    ring.takeBusLine("new", 2);
    ring.turn(at(2050));
    EXPECT_EQ(written(), (std::vector<std::string>{"bus #0 2 2 new"}));
    EXPECT_EQ(ring.leftOut(), 0U);
}

TEST_F(RecordRingTest, AllKindsAreWrittenAsARecorderWritesThem)
{
    const std::string record = "record", rest = "rest";
    TextOutput output;
    Recorder recorder(output, topics, {"ZEN_HX"}, {});
    for (HeardSink* const sink : {static_cast<HeardSink*>(&ring), static_cast<HeardSink*>(&recorder)}) {
        sink->take(eventOfType(0), 1000);
        sink->takeQueueRecord(0, mcap::bytesOf(record), 7, 1001);
        sink->takeQueueRest(0, mcap::bytesOf(rest), 1002);
        sink->takeBusLine("{}", 1003);
        sink->takeConsoleLine("Starting \"it\" \xFF", 1004);
    }
    recorder.close({});
    const auto messages = written();
    EXPECT_EQ(messages, readingOf(output.text).messages);
    ASSERT_EQ(messages.size(), 5U);
    EXPECT_TRUE(messages[0].starts_with("Log #5 1000 900 "));
    EXPECT_EQ(messages[1], "queue/ZEN_HX #7 1001 1001 record");
    EXPECT_EQ(messages[4], "console #0 1004 1004 {\"line\":\"Starting \\\"it\\\" \xEF\xBF\xBD\"}");
}

TEST_F(RecordRingTest, WhatWasWrittenIsNotKept)
{
    ring.takeBusLine("{}", 1);
    written();
    EXPECT_EQ(written(), std::vector<std::string>());
}

TEST_F(RecordRingTest, OldestIsLeftOutAndCountedWhereItIsTooMuch)
{
    RecordRing small(topics, 2, 1000);
    for (int i = 0; i < 3; ++i) small.takeBusLine(std::string(400, 'x'), 1);
    EXPECT_EQ(small.entries() + small.leftOut(), 3U);
    EXPECT_GT(small.leftOut(), 0U);
    small.takeBusLine(std::string(2000, 'x'), 1);
    EXPECT_EQ(small.entries(), 0U);
}

TEST_F(RecordRingTest, EventsOfType3To5AreTrouble)
{
    for (const std::uint32_t type : {0U, 1U, 2U, 6U, 0xFFFFFFFFU}) ring.take(eventOfType(type), 1);
    EXPECT_EQ(ring.troubles(), 0U);
    for (const std::uint32_t type : {3U, 4U, 5U}) ring.take(eventOfType(type), 1);
    EXPECT_EQ(ring.troubles(), 3U);
}

TEST(RingTriggerTest, FirstEventIsDueAtOnce)
{
    RingTrigger trigger(2);
    EXPECT_FALSE(trigger.isDue(at(0)));
    trigger.takeEvent();
    EXPECT_TRUE(trigger.isDue(at(0)));
}

TEST(RingTriggerTest, EventThatFollowsWaitsUntilTheRingIsWholeAgain)
{
    RingTrigger trigger(2);
    trigger.written(at(0));
    trigger.takeEvent();
    EXPECT_FALSE(trigger.isDue(at(1999)));
    EXPECT_TRUE(trigger.isDue(at(2000)));
    EXPECT_TRUE(trigger.isDueAtTheEnd());
    trigger.written(at(2000));
    EXPECT_FALSE(trigger.isDue(at(9000)));
    EXPECT_FALSE(trigger.isDueAtTheEnd());
}

TEST(RingTriggerTest, WhatIsAskedForIsDueAtOnce)
{
    RingTrigger trigger(2);
    trigger.written(at(0));
    trigger.ask();
    EXPECT_TRUE(trigger.isDue(at(1)));
}
