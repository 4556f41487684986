#include "lab/ctl/top/TopModel.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace orvanectl;
using namespace aspn2_msgs::idl;
using std::chrono::milliseconds;

namespace {

using Time = TopModel::Time;

constexpr std::size_t kUtc = 0, kPva = 1, kLog = 2, kResponse = 3;

Time at(int millisecond)
{
    return Time(milliseconds(1'000'000 + millisecond));
}

/// A model of four topics and two queues that begins at 0 ms.
struct TopModelTest : testing::Test {
    template <class Record>
    void take(std::size_t topic, int millisecond, Record record)
    {
        const std::int64_t number = ++m_number;
        const TopicStatistics::Arrival arrival{at(millisecond), {}, number, record.header().device_id(), number};
        model.take({topic, arrival, std::make_shared<Record>(std::move(record))});
    }

    void takeEvent(int millisecond, const std::string& text)
    {
        EventLog event;
        event.header().device_id(0x01340100);
        event.header().timestamp_valid().sec(60);
        event.header().timestamp_valid().nsec(83'567'446);
        event.event_log_type(event_log_type_enum{3});
        event.eventlog(text);
        take(kLog, millisecond, event);
    }

    template <class Record>
    static Record validAt(std::int64_t seconds)
    {
        Record record;
        record.header().timestamp_valid().sec(seconds);
        return record;
    }

    void takeLine(const std::string& line, int millisecond)
    {
        model.takeBusLine(Json::parse(line, nullptr, false), at(millisecond));
    }

    TopModel model{{{"UTCTime", findRecordType("UTCTime")},
                    {"PositionVelocityAttitude", findRecordType("PositionVelocityAttitude")},
                    {"EventLog", findRecordType("EventLog")},
                    {"Response", findRecordType("CommandResponse")}},
                   {{"ZEN_HX", "/dev/mcs5"}, {"HX_ZEN", "/dev/mcs55"}},
                   at(0)};

private:
    std::int64_t m_number = 0;
};

ProcessReading process(int id, double cpuSeconds)
{
    return {id, cpuSeconds, 43'008, 27, 0};
}

}  // namespace

TEST_F(TopModelTest, AnEmptyModelHasARowForEachTopicInputAndQueue)
{
    const TopView view = model.view(at(1500));
    EXPECT_EQ(view.seconds, 1.5);
    EXPECT_FALSE(view.process);
    EXPECT_EQ(view.topics.size(), 4U);
    EXPECT_FALSE(view.topics[kUtc].ageSeconds);
    EXPECT_EQ(view.topics[kUtc].sources, "-");
    EXPECT_EQ(view.inputs.size(), 6U);
    EXPECT_EQ(view.queues.size(), 2U);
    EXPECT_EQ(view.clearData, "-");
    EXPECT_EQ(view.builtInTest, "-");
}

TEST_F(TopModelTest, ATopicHasRateJitterAgeAndSources)
{
    for (const int millisecond : {0, 900, 2000}) {
        auto time = validAt<UTCTime>(5);
        time.header().device_id(0x01250000);
        take(kUtc, millisecond, time);
    }
    const TopicRow row = model.view(at(2500)).topics[kUtc];
    EXPECT_DOUBLE_EQ(*row.rateHz, 1.0);
    EXPECT_NEAR(*row.jitterSeconds, 0.1, 1e-9);
    EXPECT_DOUBLE_EQ(*row.ageSeconds, 0.5);
    EXPECT_EQ(row.records, 3U);
    EXPECT_EQ(row.sources, "MasterClock (37)");
    EXPECT_TRUE(row.latest);
}

TEST_F(TopModelTest, AnAgeIsToldWhenTheWindowIsLongEmpty)
{
    take(kUtc, 0, validAt<UTCTime>(5));
    EXPECT_DOUBLE_EQ(*model.view(at(60'000)).topics[kUtc].ageSeconds, 60.0);
}

TEST_F(TopModelTest, AnInputIsHeldAgainstTheTimeThatCameBesideIt)
{
    take(kUtc, 0, validAt<UTCTime>(10));
    take(kPva, 5, validAt<PositionVelocityAttitude>(9));
    EXPECT_DOUBLE_EQ(*model.view(at(10)).inputs[1].offsetSeconds, -1.0);
    // Of the next epoch, a moment before its time.
    take(kPva, 995, validAt<PositionVelocityAttitude>(11));
    take(kUtc, 1000, validAt<UTCTime>(11));
    EXPECT_DOUBLE_EQ(*model.view(at(1100)).inputs[1].offsetSeconds, 0.0);
    EXPECT_DOUBLE_EQ(*model.view(at(1100)).inputs[0].offsetSeconds, 0.0);
    EXPECT_FALSE(model.view(at(1100)).inputs[2].offsetSeconds);
}

TEST_F(TopModelTest, TheReceiversAgeIsThatOfWhatWasTakenFromItsQueue)
{
    QueueReading reading;
    reading.isThere = true;
    reading.taken = 3;
    reading.lastTaken = at(200);
    model.setQueue(0, reading);
    const TopView view = model.view(at(700));
    EXPECT_EQ(view.inputs[5].name, "8504/queue");
    EXPECT_DOUBLE_EQ(*view.inputs[5].ageSeconds, 0.5);
    EXPECT_FALSE(view.inputs[5].offsetSeconds);
    EXPECT_EQ(view.queues[0].taken, 3U);
}

TEST_F(TopModelTest, AReceiverThatIsHeardHasAnOffsetAndRefusals)
{
    take(kUtc, 1000, validAt<UTCTime>(11));
    JoinDiary::InputState receiver;
    receiver.arrived = at(1010);
    receiver.taken = 5;
    receiver.refused = 2;
    receiver.broken = 1;
    receiver.header.timestamp_valid().sec(10);
    model.setReceiver(receiver);
    const TopView view = model.view(at(1510));
    EXPECT_EQ(view.inputs[5].name, "8504");
    EXPECT_DOUBLE_EQ(*view.inputs[5].ageSeconds, 0.5);
    EXPECT_DOUBLE_EQ(*view.inputs[5].offsetSeconds, -1.0);
    EXPECT_EQ(view.queues[0].refused, 3U);
    EXPECT_FALSE(view.queues[1].refused);
}

TEST_F(TopModelTest, AnEventIsALine)
{
    takeEvent(0, "OrvaneServer started.\x1B[2J");
    EXPECT_EQ(model.view(at(1)).events,
              std::vector<std::string>({"60.083 OrvaneServer (52) FAULT OrvaneServer started.\\x1B[2J"}));
}

TEST_F(TopModelTest, TheLastTwoHundredEventsAreKept)
{
    for (int i = 0; i < 205; ++i) takeEvent(i, "event " + std::to_string(i));
    const TopView view = model.view(at(300));
    EXPECT_EQ(view.events.size(), 200U);
    EXPECT_EQ(view.events.front(), "60.083 OrvaneServer (52) FAULT event 5");
}

TEST_F(TopModelTest, AnEventThatNamesADeviceIsAFaultOfItsQueueAlone)
{
    takeEvent(0, "Nothing can be read from pipe file: /dev/mcs5: it has ended or hung up");
    EXPECT_EQ(model.view(at(1)).queues[0].faults, 1U);
    EXPECT_EQ(model.view(at(1)).queues[1].faults, 0U);
    takeEvent(2, "Nothing can be read from pipe file: /dev/mcs55: it has ended or hung up");
    EXPECT_EQ(model.view(at(3)).queues[0].faults, 1U);
    EXPECT_EQ(model.view(at(3)).queues[1].faults, 1U);
}

TEST_F(TopModelTest, AnEventOfAStreamWithoutRecordsCountsForAllQueues)
{
    takeEvent(0,
              "OrvaneServer: Process_Notification_Event(): A memory exception occurred on deserialize. Max Length: 4");
    EXPECT_EQ(model.view(at(1)).queues[0].faults, 1U);
    EXPECT_EQ(model.view(at(1)).queues[1].faults, 1U);
}

TEST_F(TopModelTest, CommandsAndAnswersTellOfClearDataAndTests)
{
    CommandResponse response;
    response.command_response("REQUEST_ZEROIZE_ACK");
    take(kResponse, 0, response);
    response.command_response("REQUEST_CBIT_ACK");
    take(kResponse, 1000, response);
    response.command_response("REQUEST_PARTNUMBERS");
    take(kResponse, 2000, response);
    EXPECT_EQ(model.view(at(3500)).clearData, "REQUEST_ZEROIZE_ACK 3 s ago");
    EXPECT_EQ(model.view(at(3500)).builtInTest, "REQUEST_CBIT_ACK 2 s ago");
}

TEST_F(TopModelTest, CpuIsTakenBetweenTwoLooksAtOneProcess)
{
    model.setProcess(process(7, 10.0), at(0));
    EXPECT_FALSE(model.view(at(1)).process->cpuPercent);
    model.setProcess(process(7, 10.25), at(1000));
    EXPECT_DOUBLE_EQ(*model.view(at(1001)).process->cpuPercent, 25.0);
    model.setProcess(process(8, 0.5), at(2000));
    EXPECT_FALSE(model.view(at(2001)).process->cpuPercent);
    model.setProcess(std::nullopt, at(3000));
    EXPECT_FALSE(model.view(at(3001)).process);
}

TEST_F(TopModelTest, TellsAreCountedByName)
{
    EXPECT_EQ(model.view(at(0)).groups.size(), 3U);
    takeLine(R"({"type":"tell","tell":"warning-messages","at_ms":1795276497000,"record":{"warningCount":2}})", 0);
    takeLine(R"({"type":"tell","tell":"warning-messages","at_ms":1795276498000,"record":{"warningCount":3}})", 0);
    takeLine(R"({"type":"faults","at_ms":0,"faults":[{},{}]})", 0);
    const TopView view = model.view(at(1));
    EXPECT_EQ(view.groups[1].name, "warning-messages");
    EXPECT_EQ(view.groups[1].count, 2U);
    EXPECT_EQ(view.groups[1].listed, 3U);
    EXPECT_EQ(view.groups[1].last, "15:54:58");
    EXPECT_EQ(view.groups[3].name, "faults");
    EXPECT_EQ(view.groups[3].listed, 2U);
    EXPECT_EQ(view.groups[3].last, "00:00:00");
}

TEST_F(TopModelTest, WhatWasToldBeforeIsNotCountedAndHasNoAge)
{
    takeLine(R"({"type":"tell","tell":"clear-system-data","last":true,"at_ms":1000,"result":0})", 5);
    const TopView view = model.view(at(6));
    EXPECT_EQ(view.groups[3].count, 0U);
    EXPECT_EQ(view.groups[3].last, "00:00:01");
    EXPECT_EQ(view.clearData, "asked for, result 0");
}

TEST_F(TopModelTest, AWarningOfClearDataCountsWhenItIsNewInTheList)
{
    const std::string row = R"({"warningId":22,"customText":"done"})";
    takeLine(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[{"warningId":5},)" + row + "]}}", 0);
    EXPECT_EQ(model.view(at(0)).clearData, "done (warning 22) 0 s ago");
    takeLine(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[)" + row + "]}}", 2000);
    EXPECT_EQ(model.view(at(3000)).clearData, "done (warning 22) 3 s ago");
    takeLine(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[)" + row + ',' + row + "]}}", 4000);
    EXPECT_EQ(model.view(at(4000)).clearData, "done (warning 22) 0 s ago");
    takeLine(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[{"warningId":23}]}})", 5000);
    EXPECT_EQ(model.view(at(5000)).clearData, "failed (warning 23) 0 s ago");
}

TEST_F(TopModelTest, ResultsOfTestsAreNamed)
{
    takeLine(R"({"type":"tell","tell":"execute-built-in-tests","expectedSeconds":25.0,"id":4})", 0);
    EXPECT_EQ(model.view(at(0)).builtInTest, "test 4 begun 0 s ago");
    takeLine(R"({"type":"tell","tell":"built-in-test-results","record":{"results":[{"builtInTestId":"0","status":3},)"
             R"({"builtInTestId":1,"status":2}]}})",
             0);
    EXPECT_EQ(model.view(at(0)).builtInTest, "0 passed, 1 failed 0 s ago");
}

TEST_F(TopModelTest, TheServiceOnTheBusIsNamed)
{
    takeLine(R"({"type":"service","service":1,"event":"started"})", 0);
    EXPECT_EQ(model.view(at(0)).bus, "service 1 started");
    model.setBus("no bus at /tmp/bus");
    EXPECT_EQ(model.view(at(0)).bus, "no bus at /tmp/bus");
}

TEST_F(TopModelTest, LinesThatAreNoneOfTheBusDoNothing)
{
    for (const char* line : {"", "[", "7", "null", "[1]", "{}", R"({"type":7})", R"({"type":"tell"})",
                             R"({"type":"tell","tell":{}})", R"({"type":"tell","tell":"navwar-sa","record":7})",
                             R"({"type":"tell","tell":"navwar-sa","record":{"threatCount":-1}})",
                             R"({"type":"tell","tell":"navwar-sa","record":{"threatCount":1.5}})",
                             R"({"type":"tell","tell":"warning-messages","record":{"warnings":{}}})",
                             R"({"type":"tell","tell":"warning-messages","record":{"warnings":[7,{},null]}})",
                             R"({"type":"tell","tell":"built-in-test-results","record":{"results":[7,null]}})",
                             R"({"type":"tell","tell":"navwar-sa","at_ms":"x"})",
                             R"({"type":"faults","faults":7,"at_ms":-9223372036854775808})",
                             R"({"type":"service","service":18446744073709551615,"event":[]})"})
        takeLine(line, 0);
    for (int i = 0; i < 100; ++i) takeLine(R"({"type":"tell","tell":"name)" + std::to_string(i) + R"("})", 0);
    EXPECT_EQ(model.view(at(0)).groups.size(), 24U);
    EXPECT_FALSE(model.view(at(0)).groups[2].listed);
}
