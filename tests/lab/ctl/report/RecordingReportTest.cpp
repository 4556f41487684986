#include "lab/ctl/report/RecordingReport.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/report/ReportRun.h"
#include "lab/ctl/why/JoinEntries.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <sys/resource.h>

using namespace orvanectl;
using namespace recordings;
using namespace aspn2_msgs::idl;

namespace {

constexpr std::int32_t kNavigator = 0x01600000;
constexpr std::int32_t kMasterClock = 0x01250000;
constexpr std::uint64_t kDay = 1'700'000'000;  // s since 1970, when it was recorded

/// Records the inputs and what else a report tells of, and reports it.
struct RecordingReportTest : testing::Test {
    explicit RecordingReportTest(const std::vector<std::string>& queues = {}) : recorder(output, topics(), queues, {})
    {}

    static constexpr std::size_t kEvents = 5, kCommands = 7;  // indices in `topics`

    static std::vector<WatchedTopic> topics()
    {
        std::vector<WatchedTopic> all;
        for (const std::string& topic : kJoinTopics) all.push_back({topic, findRecordType(topic)});
        for (const char* topic : {"EventLog", "MaintenanceEvent", "CommandResponse"})
            all.push_back({topic, findRecordType(topic)});
        return all;
    }

    static std::uint64_t at(double second) { return kDay * 1'000'000'000 + static_cast<std::uint64_t>(second * 1e9); }

    template <class Message>
    static std::shared_ptr<Message> valid(int second)
    {
        auto message = std::make_shared<Message>();
        message->header().device_id(kNavigator);
        message->header().seq_num(second);
        message->header().timestamp_valid().sec(second);
        return message;
    }

    template <class Message>
    void input(std::size_t topic, int second)
    {
        recorder.take({topic, {}, valid<Message>(second)}, at(second + 0.01));
    }

    /// All inputs of a second but HalvexPNT where it is left out.
    void second(int number, bool hasPnt = true)
    {
        auto time = valid<UTCTime>(number);
        time->header().device_id(kMasterClock);
        time->gps_tow_sec(number);
        recorder.take({0, {}, time}, at(number));
        input<PositionVelocityAttitude>(1, number);
        if (hasPnt) input<HalvexPNT>(2, number);
        input<MeasurementIncorporationStatus>(3, number);
        input<AssuranceState>(4, number);
    }

    void line(const std::string& text, double when) { recorder.takeBusLine(text, at(when)); }

    /// As told 240 ms behind the second, and recorded some time later.
    void tell(int number, const std::string& members = "")
    {
        line(R"({"type":"tell","tell":"blended-navigation","at_ms":)" +
                 std::to_string(kDay * 1000 + static_cast<std::uint64_t>(number) * 1000 + 240) +
                 R"(,"timeOfValidity":{"year":2026},"record":{"gpsSeconds":)" + std::to_string(number) + members + "}}",
             number + 0.3);
    }

    void event(std::uint32_t type, const std::string& text, double when)
    {
        auto event = valid<EventLog>(1);
        event->event_log_type(static_cast<event_log_type_enum>(type));
        event->eventlog(text);
        recorder.take({kEvents, {}, event}, at(when));
    }

    Json report()
    {
        recorder.close({{"EventLog", "2"}});
        return reportOf(TextSource(output.text), "x.mcap", ServerSettings());
    }

    TextOutput output;
    Recorder recorder;
};

struct SilentReceiverTest : RecordingReportTest {
    SilentReceiverTest() : RecordingReportTest({"ZEN_HX"}) {}
};

}  // namespace

TEST_F(RecordingReportTest, MissAndItsCauseAreThoseOfWhy)
{
    for (int number = 100; number < 106; ++number) {
        second(number, number != 103);
        if (number != 103) tell(number);
    }
    const Json joins = report()["joins"];
    EXPECT_EQ(joins["misses"].dump(), R"([[3.0,103.0,"no HalvexPNT"]])");
    EXPECT_EQ(joins["causes"].dump(), R"([{"cause":"no HalvexPNT","times":1}])");
    EXPECT_EQ(joins["epochs"], 6);
    EXPECT_EQ(joins["joined"], 5);
    EXPECT_EQ(joins["rate"], 0.8333);
    EXPECT_EQ(joins["course"]["mean"].dump(), "[1.0,1.0,1.0,0.0,1.0,1.0]");
}

TEST_F(RecordingReportTest, WithoutABusWhatCouldBeJoinedIs)
{
    for (int number = 100; number < 106; ++number) second(number, number != 103);
    const Json all = report();
    EXPECT_EQ(all["heard"]["bus"], false);
    EXPECT_EQ(all["joins"]["text"], "join rate 0.80 (4 of 5): 1 x no HalvexPNT");
    EXPECT_TRUE(all["publications"].empty());
}

TEST_F(SilentReceiverTest, OfWhichNothingCameIsMissed)
{
    for (int number = 100; number < 106; ++number) second(number);
    const Json all = report();
    EXPECT_EQ(all["heard"]["receiver"], true);
    EXPECT_EQ(all["joins"]["text"], "join rate 0.00 (0 of 4): 4 x no 8504");
}

TEST_F(SilentReceiverTest, OfWhichOnlyWhatIsNoRecordCameIsHeard)
{
    second(100);
    recorder.takeQueueRest(0, mcap::bytesOf("no record"), at(100.5));
    EXPECT_EQ(report()["heard"]["receiver"], true);
}

TEST_F(RecordingReportTest, PublicationThatIsLeftOutIsAGap)
{
    for (int number = 100; number < 110; ++number) {
        second(number);
        if (number != 106) tell(number);
    }
    const Json row = report()["publications"][0];
    EXPECT_EQ(row["name"], "blended-navigation");
    EXPECT_EQ(row["count"], 9);
    EXPECT_EQ(row["gaps"].dump(), "[[5.24,7.24]]");
}

TEST_F(RecordingReportTest, LatencyIsFromTheInputsToWhenItWasTold)
{
    for (int number = 100; number < 104; ++number) {
        second(number);
        tell(number);
    }
    const Json latencies = report()["latencies"];
    EXPECT_EQ(latencies["fromTime"]["spread"]["median"], 240.0);
    EXPECT_EQ(latencies["fromLast"]["spread"]["median"], 230.0);
    EXPECT_EQ(latencies["fromLast"]["spread"]["count"], 4);
}

TEST_F(SilentReceiverTest, ReportOfTheReceiverIsAnInput)
{
    GSSIP record;
    record.header().timestamp_valid().sec(100);
    record.data() = {0x5A, 0x5A, 8504 & 0xFF, 8504 >> 8, 0, 0, 0, 0, 0, 0};
    record.num_bytes(10);
    second(100);
    recorder.takeQueueRecord(0, payloadOf(*findRecordType("GSSIP"), &record), 1, at(100.2));
    tell(100);
    EXPECT_EQ(report()["latencies"]["fromLast"]["spread"]["median"], 40.0);
}

TEST_F(RecordingReportTest, TextsOfMarksHaveALimit)
{
    line(R"({"type":"service","event":"started"})", 100);
    line(R"({"type":"service","event":")" + std::string(5000, 'x') + "\"}", 101);
    for (int warning = 0; warning < 40; ++warning)
        for (int list = 0; list < 10; ++list)
            line(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[{"warningId":)" +
                     std::to_string(warning * 10 + list) + "}]}}",
                 102);
    const Json all = report();
    for (const Json& mark : all["service"]["marks"]) EXPECT_LE(mark[1].get<std::string>().size(), 300U);
    EXPECT_LE(all["warnings"]["spans"].size(), 100U);
}

TEST_F(RecordingReportTest, ErrorsAreThoseThatAreValid)
{
    tell(100, R"(,"horizontalPositionError_m":1.5,"horizontalPositionErrorValid":1,"fom":2,"fomValid":0)");
    tell(101, R"(,"horizontalPositionError_m":9.5,"horizontalPositionErrorValid":1,"fom":3,"fomValid":1)");
    tell(102, R"(,"horizontalPositionError_m":"nan","horizontalPositionErrorValid":1)");
    const Json errors = report()["errors"];
    EXPECT_EQ(errors["horizontal"]["course"]["high"].dump(), "[1.5,9.5]");
    EXPECT_EQ(errors["fom"]["course"]["high"].dump(), "[3.0]");
    EXPECT_FALSE(errors.contains("vertical"));
}

TEST_F(RecordingReportTest, LossOfGpsHasItsTime)
{
    for (int number = 100; number < 106; ++number)
        tell(number, number == 102 || number == 103 ? R"(,"gpsAvailability":2)" : R"(,"gpsAvailability":1)");
    const Json all = report();
    EXPECT_EQ(all["gpsLost"], 2.0);
    EXPECT_EQ(all["gps"]["spans"].dump(), R"([[0.0,1.0,"available"],[2.0,3.0,"not available"],[4.0,5.0,"available"]])");
}

TEST_F(RecordingReportTest, ThreatsHaveDegreesAndWhatIsNotValidIsNull)
{
    line(R"({"type":"tell","tell":"navwar-sa","record":{"threats":[{"azimuth_rad":1.5707963267948966,)"
         R"("elevation_rad":-0.5235987755982988,"power":-60,"powerValid":1,"azimuthConfidence_percent":50,)"
         R"("azimuthConfidenceValid":0,"centreFrequency_Hz":1575400000,"sensorName":"CRPA"}]}})",
         1);
    EXPECT_EQ(report()["threats"]["looks"].dump(),
              R"([{"seconds":0.0,"rows":[{"azimuth":90.0,"elevation":-30.0,"power":-60.0,"confidence":null,)"
              R"("megahertz":1575.4,"sensor":"CRPA"}]}])");
}

TEST_F(RecordingReportTest, ThreatWhoseDirectionHasNoDegreesIsLeftOut)
{
    line(R"({"type":"tell","tell":"navwar-sa","record":{"threats":[{"azimuth_rad":1e307,"elevation_rad":0},)"
         R"({"azimuth_rad":0,"elevation_rad":-1e307},{"azimuth_rad":0,"elevation_rad":0}]}})",
         1);
    const Json rows = report()["threats"]["looks"][0]["rows"];
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["azimuth"], 0.0);
}

TEST_F(RecordingReportTest, WarningLastsAsLongAsItIsInTheList)
{
    const auto warn = [&](const std::string& rows, double when) {
        line(R"({"type":"tell","tell":"warning-messages","record":{"warnings":[)" + rows + "]}}", when);
    };
    warn(R"({"warningId":75,"customText":"ANTENNA OPEN"})", 0);
    warn(R"({"warningId":75,"customText":"ANTENNA OPEN"},{"warningId":7})", 1);
    warn(R"({"warningId":7})", 2);
    EXPECT_EQ(report()["warnings"]["spans"].dump(), R"([[0.0,1.0,"75 ANTENNA OPEN"],[1.0,2.0,"7"]])");
}

TEST_F(RecordingReportTest, EventsAndCommandsHaveTheirTimes)
{
    event(2, "Started", 0);
    event(3, "</script>\x1B[2J", 1);
    auto command = valid<CommandResponse>(1);
    command->command_response("REQUEST_ZEROIZE_ACK");
    recorder.take({kCommands, {}, command}, at(2));
    const Json all = report();
    EXPECT_EQ(all["events"]["types"].dump(), R"({"FAULT":1,"INFORMATION":1})");
    EXPECT_EQ(all["events"]["rows"][1][3], "</script>\\x1B[2J");
    EXPECT_EQ(all["clearData"]["marks"].dump(), R"([[2.0,"REQUEST_ZEROIZE_ACK"]])");
}

TEST_F(RecordingReportTest, FloodOfEventsHidesNoFault)
{
    event(2, "first", 0);
    event(5, "severe", 1);
    for (int i = 0; i < 2000; ++i) event(2, "again", 2);
    const Json events = report()["events"];
    EXPECT_EQ(events["count"], 2002);
    EXPECT_EQ(events["rows"].size(), 401U);
    EXPECT_EQ(events["rows"][1].dump(), R"x([1.0,"SEVERE","HalvexNavigator (96)","severe"])x");
    EXPECT_EQ(events["leftOut"], 1601);
}

TEST_F(RecordingReportTest, TrackIsInMetresOfItsFirstPoint)
{
    for (const double east : {0.0, 1e-6}) {
        auto record = valid<PositionVelocityAttitude>(1);
        record->position().longitude(east);
        record->covariance()[0][0] = 4;
        record->covariance()[1][1] = 1;
        recorder.take({1, {}, record}, at(east * 1e6));
    }
    const Json track = report()["track"];
    EXPECT_EQ(track["east"].dump(), "[0.0,6.38]");
    EXPECT_EQ(track["driven"], 6.4);
    EXPECT_EQ(track["ellipses"][0].dump(), "[0.0,0.0,0.0,4.895,2.448,0.0]");
}

TEST_F(RecordingReportTest, TopicsTellTheirRateAndWhatWasMissed)
{
    for (int number = 0; number < 5; ++number) {
        auto event = valid<EventLog>(number);
        recorder.take({kEvents, {}, event}, at(number * 0.5));
    }
    const Json all = report();
    const Json row = all["topics"][kEvents];
    EXPECT_EQ(row["name"], "EventLog");
    EXPECT_EQ(row["hertz"], 2.0);
    EXPECT_EQ(row["missed"], "2");
    EXPECT_EQ(row["rates"]["hertz"].dump(), "[2.0,2.0,1.0]");
    EXPECT_EQ(all["seconds"], 2.0);
}

TEST_F(RecordingReportTest, OddLinesOfTheBusAreNothing)
{
    for (const char* text :
         {"", "7", "[]", "{\"type\":7}", R"({"type":"tell","tell":"navwar-sa","record":7})",
          R"({"type":"tell","tell":"navwar-sa","record":{"threats":{"a":1}}})",
          R"({"type":"tell","tell":"warning-messages","record":{"warnings":[7,{"warningId":-1}]}})",
          R"({"type":"tell","tell":"blended-navigation","timeOfValidity":{},"record":{"gpsSeconds":1e999}})"})
        line(text, 1);
    const Json all = report();
    EXPECT_TRUE(all["threats"]["looks"].empty());
    EXPECT_EQ(all["warnings"]["spans"].dump(), R"([[0.0,0.0,"?"]])");
}

TEST_F(RecordingReportTest, EmptyRecordingHasAReport)
{
    const Json all = report();
    EXPECT_EQ(all["messages"], 0);
    EXPECT_EQ(all["start"], nullptr);
    EXPECT_EQ(all["joins"]["rate"], nullptr);
}

TEST_F(RecordingReportTest, OneThatWasCutOffTellsSo)
{
    second(100);
    recorder.settle({});
    output.text.resize(output.text.size() - 3);
    EXPECT_EQ(reportOf(TextSource(output.text), "x.mcap", ServerSettings())["closed"], false);
}

TEST_F(RecordingReportTest, PauseOfYearsTakesNoTime)
{
    second(100);
    line("{}", 7'000'000'000.0);
    second(101);
    EXPECT_GT(report()["seconds"], 6.9e9);
}

TEST_F(RecordingReportTest, SecondsAreSinceTheEarliestMessageWhereverItStands)
{
    event(2, "late", 102);
    event(2, "early", 100);
    event(2, "last", 103);
    const Json all = report();
    EXPECT_EQ(all["start"], "2023-11-14T22:15:00.000Z");
    EXPECT_EQ(all["seconds"], 3.0);
    EXPECT_EQ(all["events"]["rows"][0][0], 2.0);
    EXPECT_EQ(all["events"]["rows"][2][0], 3.0);
}

TEST_F(RecordingReportTest, PageThatHasNoRoomLeavesNothing)
{
    event(2, "Started", 0);
    recorder.close({});
    const TemporaryDirectory directory;
    const std::string file = directory.write("x.mcap", output.text), page = file + ".html";
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit few{1000, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &few), 0);
    std::ostringstream said;
    EXPECT_THROW(runReport({{file}, page, "", false}, said), std::runtime_error);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);
    EXPECT_TRUE(runReport({{file}, page, "", false}, said));
    EXPECT_GT(std::filesystem::file_size(page), 1000U);
}

TEST(ReportTest, WhatIsNoRecordingIsRefused)
{
    EXPECT_THROW(reportOf(TextSource("no recording"), "x.txt", ServerSettings()), std::runtime_error);
}

TEST_F(RecordingReportTest, TwoAreCompared)
{
    for (int number = 100; number < 106; ++number) second(number, number != 103);
    const Json one = report();
    Json other = one;
    other["joins"]["rate"] = 1.0;
    other["joins"]["causes"] = Json::array();
    const Json whole = wholeReport({one, other}, "");
    const auto rowOf = [&](const std::string& name) {
        for (const Json& row : whole["comparison"])
            if (row["name"] == name) return row.dump();
        return std::string();
    };
    EXPECT_EQ(rowOf("join rate"), R"({"name":"join rate","unit":"","a":0.8,"b":1.0,"difference":0.2})");
    EXPECT_EQ(rowOf("not joined: no HalvexPNT"),
              R"({"name":"not joined: no HalvexPNT","unit":"times","a":1,"b":0,"difference":-1.0})");
    EXPECT_EQ(rowOf("FOM, most"), "");
    EXPECT_FALSE(wholeReport({one}, "").contains("comparison"));
}
