#include "lab/ctl/record/RecordingCsv.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/SVStatus.h"
#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/record/Recorder.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <sstream>
#include <utility>

using namespace orvanectl;
using namespace recordings;
using namespace aspn2_msgs::idl;

namespace {

/// Records the topics "Log" and "Satellites", and the bus.
struct RecordingCsvTest : testing::Test {
    void event(std::int64_t number, const std::string& text, std::uint64_t time)
    {
        auto record = std::make_shared<EventLog>();
        record->header().seq_num(number);
        record->eventlog(text);
        recorder.take({0, {}, record}, time);
    }

    /// What is printed, and behind it what could not be read.
    std::string csv(std::vector<std::string> fields)
    {
        if (!std::exchange(isClosed, true)) recorder.close({});
        return csvOf(output.text, std::move(fields));
    }

    std::string csvOf(const std::string& recording, std::vector<std::string> fields) const
    {
        std::ostringstream text;
        const std::string trouble = printCsv({directory.write("x.mcap", recording), std::move(fields)}, text);
        return text.str() + trouble;
    }

    std::string refusalOf(const std::string& field)
    {
        try {
            csv({field});
        } catch (const UnknownName& error) {
            const std::string text = error.what();
            return text.substr(text.find("x.mcap: ") == std::string::npos ? 0 : text.find("x.mcap: "));
        }
        return "is taken";
    }

    const TemporaryDirectory directory;
    bool isClosed = false;
    TextOutput output;
    Recorder recorder{
        output, {{"Log", findRecordType("EventLog")}, {"Satellites", findRecordType("SVStatus")}}, {}, {}};
};

}  // namespace

TEST_F(RecordingCsvTest, FieldIsAColumnBehindTheTimes)
{
    event(5, "one", 1'000'000'001);
    event(6, "two", 3'500'000'002);
    EXPECT_EQ(csv({"Log.header.seq_num", "Log.eventlog"}), "time,seconds,Log.header.seq_num,Log.eventlog\n"
                                                           "1970-01-01T00:00:01.000000001Z,0.000000000,5,one\n"
                                                           "1970-01-01T00:00:03.500000002Z,2.500000001,6,two\n");
}

TEST_F(RecordingCsvTest, SecondsCountFromTheFirstMessageOfAnyChannel)
{
    recorder.takeBusLine("{}", 1'000'000'000);
    event(1, "one", 2'000'000'000);
    EXPECT_EQ(csv({"Log.eventlog"}), "time,seconds,Log.eventlog\n"
                                     "1970-01-01T00:00:02.000000000Z,1.000000000,one\n");
}

TEST_F(RecordingCsvTest, ChannelStandsForAllOfItsFields)
{
    const std::string text = csv({"Log"});
    EXPECT_TRUE(text.starts_with("time,seconds,Log.header.seq_num,")) << text;
    EXPECT_TRUE(text.ends_with(",Log.event_log_type,Log.eventlog\n")) << text;
}

TEST_F(RecordingCsvTest, ChannelsStandInTheirOwnColumns)
{
    event(1, "one", 0);
    recorder.takeBusLine(R"({"type":"tell","fom":{"position":3}})", 1);
    EXPECT_EQ(csv({"bus.fom.position", "Log.eventlog", "bus.type"}),
              "time,seconds,bus.fom.position,Log.eventlog,bus.type\n"
              "1970-01-01T00:00:00.000000000Z,0.000000000,,one,\n"
              "1970-01-01T00:00:00.000000001Z,0.000000001,3,,tell\n");
}

TEST_F(RecordingCsvTest, TextThatSeparatesStandsInQuotes)
{
    event(1, "a,\"b\"", 0);
    EXPECT_TRUE(csv({"Log.eventlog"}).ends_with(",\"a,\"\"b\"\"\"\n"));
}

TEST_F(RecordingCsvTest, ElementOfASequenceIsEmptyWhereThereIsNone)
{
    auto record = std::make_shared<SVStatus>();
    recorder.take({1, {}, record}, 0);
    record->svs().resize(2);
    recorder.take({1, {}, record}, 1);
    EXPECT_EQ(csv({"Satellites.svs.1.svid"}), "time,seconds,Satellites.svs.1.svid\n"
                                              "1970-01-01T00:00:00.000000000Z,0.000000000,\n"
                                              "1970-01-01T00:00:00.000000001Z,0.000000001,0\n");
}

TEST_F(RecordingCsvTest, SequenceIsOneColumnOfJson)
{
    recorder.take({1, {}, std::make_shared<SVStatus>()}, 0);
    EXPECT_TRUE(csv({"Satellites.svs"}).ends_with(",0.000000000,[]\n"));
}

TEST_F(RecordingCsvTest, ChannelThatThereIsNotIsAnsweredWithTheNearest)
{
    EXPECT_EQ(refusalOf("Lgo.eventlog"), "x.mcap: no channel Lgo; did you mean Log?");
}

TEST_F(RecordingCsvTest, FieldThatThereIsNotIsAnsweredWithTheNearest)
{
    EXPECT_EQ(refusalOf("Log.evntlog"), "Log has no field evntlog; did you mean eventlog?");
    EXPECT_EQ(refusalOf("Satellites.svs.x"), "Satellites.svs has no element x; they are numbered");
    EXPECT_EQ(refusalOf("Log.eventlog.x"), "Log.eventlog is one value, with no field in it");
    EXPECT_EQ(refusalOf("Log."), "Log has no field ; there are: header, event_log_type, eventlog");
}

TEST_F(RecordingCsvTest, RecordingThatWasCutIsPrintedUpToItsLastChunkAndSaysSo)
{
    event(1, "one", 0);
    recorder.settle({});
    event(2, "two", 1);
    EXPECT_EQ(csvOf(output.text, {"Log.eventlog"}), "time,seconds,Log.eventlog\n"
                                                    "1970-01-01T00:00:00.000000000Z,0.000000000,one\n"
                                                    "was cut off at byte " +
                                                        std::to_string(output.text.size()) + ", or its end is damaged");
}

TEST_F(RecordingCsvTest, LineNestedWithoutEndIsNoTrouble)
{
    recorder.takeBusLine(std::string(1'000'000, '['), 0);
    recorder.takeBusLine(std::string(1'000'000, '[') + std::string(1'000'000, ']'), 0);
    EXPECT_TRUE(csv({"bus"}).ends_with("1 unreadable record"));
}
