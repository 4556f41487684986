#include "lab/ctl/PubRecords.h"

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/UTCTime.h"
#include "lab/ctl/RecordText.h"
#include "tests/aspn2_msgs/AllRecords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace orvanectl;
using aspn2_msgs::idl::BitReport;
using aspn2_msgs::idl::EventLog;
using aspn2_msgs::idl::GSSIP;
using aspn2_msgs::idl::MaintenanceEvent;
using aspn2_msgs::idl::UTCTime;

namespace {

PubRecord made(const char* type, const std::vector<std::string>& settings)
{
    return recordOf({"Topic", findRecordType(type)}, settings);
}

template <class Record>
const Record& in(const PubRecord& made)
{
    return *static_cast<const Record*>(made.record.get());
}

std::string errorOf(const char* type, const std::string& setting)
{
    try {
        made(type, {setting});
        return "nothing";
    } catch (const FieldError& error) {
        return error.what();
    }
}

std::string errorOfLine(const std::string& line)
{
    try {
        recordOfLine(line);
        return "nothing";
    } catch (const FieldError& error) {
        return error.what();
    }
}

/// A line with a message of the type.
std::string line(const char* type, const std::string& message)
{
    return std::string(R"({"topic":"T","type":")") + type + R"(","message":)" + message + "}";
}

}  // namespace

TEST(PubRecordsTest, WhatEchoPrintsOfAnyTypeComesBackAsItWas)
{
    std::size_t count = 0;
    for (const RecordCase& record : supportedRecords()) {
        const RecordType* const type = findRecordType(record.name);
        if (!type) continue;
        ++count;
        const std::string text = recordJson({"A topic", type}, record.numbered->data());
        const auto back = recordOfLine(text);
        ASSERT_TRUE(back) << record.name;
        EXPECT_EQ(back->topic, "A topic");
        EXPECT_TRUE(back->given.number && back->given.arrival && back->given.valid && back->given.device);
        EXPECT_EQ(recordJson({"A topic", back->type}, back->record.get()), text) << record.name;
    }
    EXPECT_EQ(count, 32u);
}

TEST(PubRecordsTest, NumbersThatJsonDoesNotKnowComeBackFromTheNotes)
{
    UTCTime time;
    time.a1(std::numeric_limits<double>::quiet_NaN());
    time.covariance()[1][0] = -std::numeric_limits<double>::infinity();
    const auto back = recordOfLine(recordJson({"T", findRecordType("UTCTime")}, &time));
    EXPECT_TRUE(std::isnan(in<UTCTime>(*back).a1()));
    EXPECT_EQ(in<UTCTime>(*back).covariance()[1][0], -std::numeric_limits<double>::infinity());
}

TEST(PubRecordsTest, FieldsAreSetByTheirPaths)
{
    const PubRecord time = made("UTCTime", {"gps_week=2445", "covariance.0.1=0.5", "a1=inf"});
    EXPECT_EQ(in<UTCTime>(time).gps_week(), 2445);
    EXPECT_EQ(in<UTCTime>(time).covariance()[0][1], 0.5);
    EXPECT_EQ(in<UTCTime>(time).a1(), std::numeric_limits<double>::infinity());
    EXPECT_FALSE(time.given.number || time.given.arrival || time.given.valid || time.given.device);
}

TEST(PubRecordsTest, WhatIsSetOfTheHeaderGoesOutAsItIs)
{
    const PubRecord time =
        made("UTCTime", {"header.seq_num=7", "header.device_id.value=0x01340100", "header.timestamp_valid.sec=3"});
    EXPECT_TRUE(time.given.number && time.given.valid && time.given.device);
    EXPECT_FALSE(time.given.arrival);
    EXPECT_EQ(in<UTCTime>(time).header().seq_num(), 7);
    EXPECT_EQ(in<UTCTime>(time).header().device_id(), 0x01340100);
    EXPECT_EQ(time.validSeconds(), 3.0);
}

TEST(PubRecordsTest, TextsBytesAndSequencesAreSetWhole)
{
    EXPECT_EQ(in<EventLog>(made("EventLog", {R"(eventlog=a\x41\\)"})).eventlog(), "aA\\");
    EXPECT_EQ(in<EventLog>(made("EventLog", {"eventlog=START, now"})).eventlog(), "START, now");
    EXPECT_EQ(in<GSSIP>(made("GSSIP", {"data=ff81"})).data(), (std::vector<std::uint8_t>{0xFF, 0x81}));
    EXPECT_EQ(in<EventLog>(made("EventLog", {"eventlog=5"})).eventlog(), "5");
    EXPECT_EQ(in<GSSIP>(made("GSSIP", {"data=1234"})).data(), (std::vector<std::uint8_t>{0x12, 0x34}));
    const PubRecord report = made("BitReport", {R"(bit_components=[{"server_id":52}])", "bit_rollup=true"});
    ASSERT_EQ(in<BitReport>(report).bit_components().size(), 1u);
    EXPECT_EQ(in<BitReport>(report).bit_components()[0].server_id(), 52);
    EXPECT_TRUE(in<BitReport>(report).bit_rollup());
}

TEST(PubRecordsTest, AFieldThatThereIsNotNamesTheNearest)
{
    EXPECT_EQ(errorOf("UTCTime", "gps_wek=1"), "gps_wek: there is no such field; did you mean gps_week?");
    EXPECT_EQ(errorOf("UTCTime", "header.seqnum=1"), "header.seqnum: there is no such field; did you mean seq_num?");
    EXPECT_EQ(errorOf("UTCTime", "covariance.0.2=1"), "covariance.0.2: it has 2 elements, counted from 0");
    EXPECT_EQ(errorOf("UTCTime", "gps_week.x=1"), "gps_week.x: has no fields");
    EXPECT_EQ(errorOf("UTCTime", "header.device_id.server=37"),
              "header.device_id.server: only header.device_id.value sets the device id; --from sets its server");
    EXPECT_EQ(errorOf("UTCTime", "gps_week"), "gps_week: FIELD=VALUE must stand here");
}

TEST(PubRecordsTest, AValueThatTheFieldCantHaveIsRefused)
{
    EXPECT_EQ(errorOf("UTCTime", "gps_week=x"),
              "message.gps_week: a whole number must stand here, -2147483648 to 2147483647");
    EXPECT_EQ(errorOf("UTCTime", "gps_week=2147483648"),
              "message.gps_week: 2147483648 is out of range, -2147483648 to 2147483647");
    EXPECT_EQ(errorOf("UTCTime", "gps_week=-2147483649"),
              "message.gps_week: -2147483649 is out of range, -2147483648 to 2147483647");
    EXPECT_EQ(errorOf("UTCTime", "a1=x"), "message.a1: a number must stand here");
    EXPECT_EQ(errorOf("UTCTime", "covariance=[[1,2]]"), "message.covariance: has 1 elements; it must have 2");
    EXPECT_EQ(errorOf("EventLog", "event_log_type=-1"), "message.event_log_type: -1 is out of range, 0 to 4294967295");
    EXPECT_EQ(errorOf("EventLog", R"(eventlog=a\b)"),
              R"(message.eventlog: a backslash is written as two, another byte as \xNN)");
    EXPECT_EQ(errorOf("GSSIP", "data=abc"), "message.data: pairs of hexadecimal digits must stand here");
    EXPECT_EQ(errorOf("BitReport", "bit_rollup=1"), "message.bit_rollup: true or false must stand here");
    EXPECT_EQ(errorOf("BitReport", R"(bit_components=[{"server":52}])"),
              "message.bit_components.0.server: there is no such field; did you mean server_id?");
}

TEST(PubRecordsTest, ATextThatIsTooLongForItsCharactersIsRefused)
{
    const std::size_t room = MaintenanceEvent().identity().size();
    EXPECT_EQ(errorOf("MaintenanceEvent", "identity=" + std::string(room, 'a')), "nothing");
    EXPECT_TRUE(
        errorOf("MaintenanceEvent", "identity=" + std::string(room + 1, 'a')).starts_with("message.identity: has "));
}

TEST(PubRecordsTest, LinesThatAreNoRecordsArePassedOver)
{
    EXPECT_FALSE(recordOfLine(R"({"kind":"sum","records":7})"));
}

TEST(PubRecordsTest, LinesThatAreWrongAreRefused)
{
    EXPECT_EQ(errorOfLine("x"), "line: is no object of JSON");
    EXPECT_EQ(errorOfLine("[]"), "line: is no object of JSON");
    EXPECT_EQ(errorOfLine("{}"), "type: is missing");
    EXPECT_EQ(errorOfLine(R"({"kind":1})"), "kind: a text must stand here");
    EXPECT_EQ(errorOfLine(R"({"type":"UTCTime"})"), "topic: is missing");
    EXPECT_EQ(errorOfLine(R"({"type":"UTCTime","topic":"T"})"), "message: is missing");
    EXPECT_EQ(errorOfLine(line("UTCTime", "[]")), "message: an object must stand here");
    EXPECT_EQ(errorOfLine(line("UTCTime", R"({"a1":null})")), "message.a1: a number must stand here");
    EXPECT_EQ(errorOfLine(line("UtcTime", "{}")), "type: no type \"UtcTime\"; did you mean UTCTime?");
    EXPECT_TRUE(errorOfLine(line("none", "{}")).starts_with("type: no type \"none\"; there are: Altitude, "));
    EXPECT_EQ(errorOfLine(line("UTCTime", "{}")), "nothing");
}
