#include "lab/ctl/RecordText.h"

#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "tests/lab/ctl/Manual.h"

#include <gtest/gtest.h>

#include <limits>

using namespace orvanectl;
using aspn2_msgs::idl::event_log_type_enum;
using std::chrono::seconds;

namespace {

WatchedTopic topicOf(const char* type)
{
    return {type, findRecordType(type)};
}

aspn2_msgs::idl::timestamp timeOf(std::int64_t sec, std::int32_t nsec)
{
    aspn2_msgs::idl::timestamp time;
    time.sec(sec);
    time.nsec(nsec);
    time.time_code(100);
    return time;
}

/// Number 7 of server 52, valid at 60.083567446 s.
template <class Record>
Record fromServer52()
{
    Record record;
    record.header().seq_num(7);
    record.header().device_id(0x01340100);
    record.header().timestamp_valid(timeOf(60, 83567446));
    return record;
}

aspn2_msgs::idl::EventLog eventOf(std::uint32_t type, const std::string& text)
{
    auto event = fromServer52<aspn2_msgs::idl::EventLog>();
    event.event_log_type(event_log_type_enum{type});
    event.eventlog(text);
    return event;
}

}  // namespace

TEST(RecordTextTest, TimeIsSecondsWithNineDigits)
{
    EXPECT_EQ(timeText(timeOf(0, 0)), "0.000000000");
    EXPECT_EQ(timeText(timeOf(60, 83567446)), "60.083567446");
    EXPECT_EQ(timeText(timeOf(0, -8)), "-0.000000008");
    EXPECT_EQ(timeText(timeOf(-3, -4)), "-3.000000004");
    EXPECT_EQ(timeText(timeOf(std::numeric_limits<std::int64_t>::min(), 0)), "-9223372036854775808.000000000");
}

TEST(RecordTextTest, TimeThatIsNotOneNumberIsShownAsItIs)
{
    EXPECT_EQ(timeText(timeOf(5, -3)), "5 s -3 ns");
    EXPECT_EQ(timeText(timeOf(-5, 3)), "-5 s 3 ns");
    EXPECT_EQ(timeText(timeOf(0, 1'000'000'000)), "0 s 1000000000 ns");
    EXPECT_EQ(timeText(timeOf(-1, std::numeric_limits<std::int32_t>::min())), "-1 s -2147483648 ns");
}

TEST(RecordTextTest, SourceIsTheServersNameAndNumber)
{
    EXPECT_EQ(sourceText(0x01340100), "OrvaneServer (52)");
    EXPECT_EQ(sourceText(static_cast<std::int32_t>(0xFF63FFFFu)), "server 99");
    EXPECT_EQ(sourceText(0), "server 0");
}

TEST(RecordTextTest, EventIsALine)
{
    const auto event = eventOf(3, "/a.cpp[12]:down");
    EXPECT_EQ(recordText(topicOf("EventLog"), &event, false),
              "60.083567446  OrvaneServer (52)  #7  FAULT  /a.cpp[12]:down\n");
    EXPECT_EQ(recordText(topicOf("EventLog"), &event, true),
              "EventLog  60.083567446  OrvaneServer (52)  #7  FAULT  /a.cpp[12]:down\n");
}

TEST(RecordTextTest, EventTypesAreNamed)
{
    EXPECT_EQ(eventTypeText(0), "GENERAL");
    EXPECT_EQ(eventTypeText(1), "STATUS");
    EXPECT_EQ(eventTypeText(2), "INFORMATION");
    EXPECT_EQ(eventTypeText(3), "FAULT");
    EXPECT_EQ(eventTypeText(4), "OPERATION_FAILED");
    EXPECT_EQ(eventTypeText(5), "SEVERE");
    EXPECT_EQ(eventTypeText(6), "TYPE 6");
    EXPECT_EQ(eventTypeText(0xFFFFFFFF), "TYPE 4294967295");
}

TEST(RecordTextTest, NoTextOfARecordCanForgeALineOrReachTheTerminal)
{
    const auto event = eventOf(2, "a\n60.0 forged\r\x1B[31m\x7F\xC2\x9B\\x");
    const std::string escaped = R"(a\x0A60.0 forged\x0D\x1B[31m\x7F\xC2\x9B\\x)";
    EXPECT_EQ(recordText(topicOf("EventLog"), &event, false),
              "60.083567446  OrvaneServer (52)  #7  INFORMATION  " + escaped + "\n");
    EXPECT_NE(recordParagraph(topicOf("EventLog"), &event).find("    eventlog: " + escaped + "\n"), std::string::npos);
    const Json line = Json::parse(recordJson(topicOf("EventLog"), &event));
    EXPECT_EQ(line["message"]["eventlog"], escaped);

    auto maintenance = fromServer52<aspn2_msgs::idl::MaintenanceEvent>();
    maintenance.identity({'\x1B', 'c'});
    maintenance.description({'\n'});
    EXPECT_EQ(recordText({"a\nb", findRecordType("MaintenanceEvent")}, &maintenance, true),
              R"(a\x0Ab  60.083567446  OrvaneServer (52)  #7  \x1Bc  \x0A  criticality_id 0  category_id 0)"
              "  location_id 0  outcome_id 0  repeat_in_seconds 0  fault_sources 0/0 0/0 0/0 0/0\n");
}

TEST(RecordTextTest, MaintenanceEventIsALine)
{
    auto event = fromServer52<aspn2_msgs::idl::MaintenanceEvent>();
    event.identity({'S', 'O', 'A', 'P'});
    event.description({'1', ':', 'x'});
    event.criticality_id(3);
    event.category_id(1);
    event.location_id(52);
    event.outcome_id(11);
    event.repeat_in_seconds(9);
    for (std::int32_t i = 0; i < 4; ++i) {
        event.fault_sources()[static_cast<std::size_t>(i)].lru_id(10 + i);
        event.fault_sources()[static_cast<std::size_t>(i)].component_id(20 + i);
    }
    EXPECT_EQ(recordText(topicOf("MaintenanceEvent"), &event, false),
              "60.083567446  OrvaneServer (52)  #7  SOAP  1:x  criticality_id 3  category_id 1  location_id 52  "
              "outcome_id 11  repeat_in_seconds 9  fault_sources 10/20 11/21 12/22 13/23\n");
}

TEST(RecordTextTest, ParagraphHasEverything)
{
    const auto event = eventOf(2, "text");
    EXPECT_EQ(recordParagraph(topicOf("EventLog"), &event),
              "EventLog #7 from OrvaneServer (52), valid 60.083567446 s\n"
              "  header:\n"
              "    seq_num: 7\n"
              "    timestamp_arrival: sec 0 s, nsec 0 ns, time_code 0\n"
              "    timestamp_valid: sec 60 s, nsec 83567446 ns, time_code 100\n"
              "    device_id: value 0x01340100, system 1, system_name KOLT, server 52, server_name OrvaneServer, "
              "message 1, topic 0\n"
              "  message:\n"
              "    event_log_type: 2\n"
              "    eventlog: text\n"
              "\n");
}

TEST(RecordTextTest, OtherTypesAreParagraphsWithAMatrixRowALine)
{
    auto record = fromServer52<aspn2_msgs::idl::PositionVelocityAttitude>();
    record.covariance()[1][2] = 2.5;
    record.covariance()[1][3] = std::numeric_limits<double>::quiet_NaN();
    const std::string text = recordText(topicOf("PositionVelocityAttitude"), &record, false);
    EXPECT_TRUE(text.starts_with("PositionVelocityAttitude #7 from OrvaneServer (52), valid 60.083567446 s\n")) << text;
    EXPECT_NE(text.find("\n    covariance:\n      0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0\n"
                        "      0.0 0.0 2.5 nan 0.0 0.0 0.0 0.0 0.0\n"),
              std::string::npos)
        << text;
}

TEST(RecordTextTest, ExampleOfTheManualIsWhatIsPrinted)
{
    aspn2_msgs::idl::UTCTime time;
    time.header().seq_num(4);
    time.header().timestamp_arrival(timeOf(64, 204663));
    time.header().timestamp_valid(timeOf(63, 999999992));
    time.header().device_id(0x01250000);
    time.gps_tow_sec(559328);
    time.gps_tow_nsec(999999987.0);
    time.gps_week(2445);
    time.utc_tod_sec(40910);
    time.utc_tod_nsec(999999987.0);
    time.covariance() = {{{2e-8 * 2e-8, 0.0}, {0.0, 1e-10 * 1e-10}}};
    const std::string example = recordText(topicOf("UTCTime"), &time, false);
    EXPECT_NE(manual("orvanectl-echo").find("$ orvanectl echo UTCTime --count 1\n" + example), std::string::npos)
        << example;
}

TEST(RecordTextTest, UnitsStandBehindTheNumbers)
{
    auto record = fromServer52<aspn2_msgs::idl::PositionVelocityAttitude>();
    record.position().latitude(0.5);
    record.velocity() = {1.5, 2.5, -3.5};
    const std::string text = recordText(topicOf("PositionVelocityAttitude"), &record, false);
    EXPECT_NE(text.find("    position: latitude 0.5 rad, longitude 0.0 rad, altitude 0.0 m\n"
                        "    velocity:\n"
                        "      1.5 2.5 -3.5 m/s\n"
                        "    attitude:\n"
                        "      0.0 0.0 0.0 rad\n"
                        "    covariance:\n"
                        "      0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0\n"),
              std::string::npos)
        << text;
}

TEST(RecordTextTest, TimeThatIsNotOneNumberHasItsUnitsInTheHeading)
{
    auto record = eventOf(2, "text");
    record.header().timestamp_valid(timeOf(5, -3));
    const std::string text = recordParagraph(topicOf("EventLog"), &record);
    EXPECT_TRUE(text.starts_with("EventLog #7 from OrvaneServer (52), valid 5 s -3 ns\n")) << text;
}

TEST(RecordTextTest, JsonHasNoUnits)
{
    const auto record = fromServer52<aspn2_msgs::idl::PositionVelocityAttitude>();
    const Json line = Json::parse(recordJson(topicOf("PositionVelocityAttitude"), &record));
    EXPECT_EQ(line["message"]["position"].dump(), R"({"latitude":0.0,"longitude":0.0,"altitude":0.0})");
    EXPECT_EQ(line["message"]["velocity"].dump(), "[0.0,0.0,0.0]");
}

TEST(RecordTextTest, JsonIsALineWithEverything)
{
    const auto event = eventOf(2, "text");
    EXPECT_EQ(recordJson({"Log", findRecordType("EventLog")}, &event),
              R"({"kind":"record","topic":"Log","type":"EventLog","header":{"seq_num":7,)"
              R"("timestamp_arrival":{"sec":0,"nsec":0,"time_code":0},)"
              R"("timestamp_valid":{"sec":60,"nsec":83567446,"time_code":100},)"
              R"("device_id":{"value":"0x01340100","system":1,"system_name":"KOLT","server":52,)"
              R"("server_name":"OrvaneServer","message":1,"topic":0}},)"
              R"("message":{"event_log_type":2,"eventlog":"text"}})"
              "\n");
}

namespace {

/// Two topics: one that has sent numbers 1, 2 and 5 half a second apart, and one that nothing came from.
struct RateTest : testing::Test {
    RateTest()
    {
        for (const std::int64_t number : {1, 2, 5})
            statistics[0].take(
                {TopicStatistics::Time(std::chrono::milliseconds(500 * number)), {}, number, 0x340000, number});
    }

    const WatchedTopic topics[2] = {topicOf("UTCTime"), {"Other", findRecordType("EventLog")}};
    TopicStatistics statistics[2] = {TopicStatistics(seconds(10)), TopicStatistics(seconds(10))};
    const TopicStatistics::Time now{seconds(3)};
};

}  // namespace

TEST_F(RateTest, TableHasALineForEachTopic)
{
    EXPECT_EQ(rateTable({{&topics[0], 2, &statistics[0]}, {&topics[1], 0, &statistics[1]}}, now),
              "topic     rate Hz  longest s  records  gaps  missing  back  lost  pubs  from\n"
              "UTCTime     1.000      1.500        3     1        2     0     2     2  OrvaneServer (52)\n"
              "Other           -          -        0     0        0     0     0     0  -\n"
              "\n");
}

TEST_F(RateTest, JsonIsALineForEachTopic)
{
    EXPECT_EQ(rateJson({&topics[0], 2, &statistics[0]}, now, 3.5),
              R"({"kind":"rate","seconds":3.5,"topic":"UTCTime","type":"UTCTime","rate_hz":1.0,"longest_s":1.5,)"
              R"-("records":3,"gaps":1,"missing":2,"back":0,"lost":2,"publishers":2,"sources":["OrvaneServer (52)"]})-"
              "\n");
    EXPECT_EQ(rateJson({&topics[1], 0, &statistics[1]}, now, 3.5),
              R"({"kind":"rate","seconds":3.5,"topic":"Other","type":"EventLog","rate_hz":null,"longest_s":null,)"
              R"("records":0,"gaps":0,"missing":0,"back":0,"lost":0,"publishers":0,"sources":[]})"
              "\n");
}

TEST_F(RateTest, AServerThatSendsUnderSeveralIdsIsNamedOnce)
{
    for (const std::int32_t id : {0x250001, 0x250002}) statistics[1].take({now, {}, 1, id, 1});
    EXPECT_NE(rateTable({{&topics[1], 1, &statistics[1]}}, now).find("  MasterClock (37)\n"), std::string::npos);
}

TEST_F(RateTest, SumIsOfAllTopics)
{
    WatchSum sum;
    sum.seconds = 3.25;
    for (const TopicStatistics& one : statistics) sum.add(one);
    sum.add(statistics[0]);
    EXPECT_EQ(sumText(sum), "orvanectl: 6 records in 3.2 s, 2 gaps with 4 missing, 0 back, 4 lost\n");
    sum.leftOut = 9;
    EXPECT_EQ(sumText(sum), "orvanectl: 6 records in 3.2 s, 2 gaps with 4 missing, 0 back, 4 lost, 9 left out\n");
    EXPECT_EQ(sumJson(sum), R"({"kind":"sum","seconds":3.25,"records":6,"gaps":2,"missing":4,"back":0,"lost":4,)"
                            R"("left_out":9})"
                            "\n");
}
