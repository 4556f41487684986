#include "lab/ctl/record/RecordingWhy.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/why/JoinEntries.h"
#include "lab/ctl/why/WhyReport.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace orvanectl;
using namespace recordings;
using namespace aspn2_msgs::idl;

namespace {

constexpr std::int32_t kNavigator = 0x01600000;
constexpr std::int32_t kMasterClock = 0x01250000;
constexpr std::uint64_t kDay = 1'700'000'000;  // s since 1970, when it was recorded

/// Records the five topics, and tells why of it.
struct RecordingWhyTest : testing::Test {
    static std::vector<WatchedTopic> topics()
    {
        std::vector<WatchedTopic> all;
        for (const std::string& topic : kJoinTopics) all.push_back({topic, findRecordType(topic)});
        return all;
    }

    static std::uint64_t at(double second) { return kDay * 1'000'000'000 + static_cast<std::uint64_t>(second * 1e9); }

    template <class Message>
    void input(std::size_t topic, int second)
    {
        auto message = std::make_shared<Message>();
        message->header().device_id(kNavigator);
        message->header().timestamp_valid().sec(second);
        recorder.take({topic, {}, message}, at(second + 0.01));
    }

    /// All inputs of a second but HalvexPNT where it is left out.
    void second(int number, bool hasPnt = true)
    {
        auto time = std::make_shared<UTCTime>();
        time->header().device_id(kMasterClock);
        time->header().timestamp_valid().sec(number);
        time->gps_tow_sec(number);
        recorder.take({0, {}, time}, at(number));
        input<PositionVelocityAttitude>(1, number);
        if (hasPnt) input<HalvexPNT>(2, number);
        input<MeasurementIncorporationStatus>(3, number);
        input<AssuranceState>(4, number);
    }

    void tell(int number, double when)
    {
        recorder.takeBusLine(
            R"({"type":"tell","tell":"blended-navigation","timeOfValidity":{"year":2026},"record":{"gpsSeconds":)" +
                std::to_string(number) + "}}",
            at(when));
    }

    std::string why(WhyOptions options = {})
    {
        recorder.close({});
        options.recording = directory.write("x.mcap", output.text);
        std::ostringstream text;
        runWhyOfRecording(options, ServerSettings(), text);
        return text.str();
    }

    const TemporaryDirectory directory;
    TextOutput output;
    Recorder recorder{output, topics(), {}, {}};
};

}  // namespace

TEST_F(RecordingWhyTest, SecondThatLackedAnInputIsTold)
{
    for (int number = 100; number < 106; ++number) second(number, number != 103);
    EXPECT_EQ(why(), "orvanectl: hears a publisher of each of the five topics\n"
                     "GPS second 103.0: no HalvexPNT\n"
                     "orvanectl: without a bus, what the service could have joined counts as joined\n"
                     "orvanectl: the receiver's queue is not heard; its 8504 count as there\n"
                     "join rate 0.80 (4 of 5): 1 x no HalvexPNT\n");
}

TEST_F(RecordingWhyTest, WhatTheBusDidNotTellIsNotJoined)
{
    for (int number = 100; number < 106; ++number) {
        second(number);
        if (number != 103) tell(number, number + 0.3);
    }
    const std::string text = why();
    EXPECT_NE(text.find("topics\nGPS second 103.0: "), std::string::npos) << text;
    EXPECT_EQ(text.find("without a bus"), std::string::npos) << text;
}

TEST_F(RecordingWhyTest, TopicThatTheRecordingHasNotIsNamed)
{
    input<HalvexPNT>(2, 100);
    const std::string text = why();
    EXPECT_TRUE(text.starts_with("orvanectl: the recording has no UTCTime\n")) << text;
    EXPECT_EQ(text.find("has no HalvexPNT"), std::string::npos) << text;
}

TEST_F(RecordingWhyTest, PauseOfYearsTakesNoTime)
{
    second(100);
    recorder.takeBusLine("{}", 9'000'000'000'000'000'000);
    second(101);
    EXPECT_NE(why().find("no UTCTime"), std::string::npos);
}

TEST_F(RecordingWhyTest, RecordingThatWasCutIsSaidToBe)
{
    second(100);
    second(101);
    recorder.close({});
    WhyOptions options;
    options.recording = directory.write("cut.mcap", output.text.substr(0, output.text.size() - 40));
    std::ostringstream text;
    testing::internal::CaptureStderr();
    runWhyOfRecording(options, ServerSettings(), text);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("orvanectl: " + options.recording +
                                                                   ": was cut off at byte "));
}

TEST_F(RecordingWhyTest, ItEndsAfterItsTime)
{
    for (int number = 100; number < 110; ++number) second(number);
    WhyOptions options;
    options.seconds = 3.5;
    options.all = true;
    const std::string text = why(options);
    EXPECT_NE(text.find("GPS second 102.0: joined"), std::string::npos) << text;
    EXPECT_EQ(text.find("GPS second 105.0"), std::string::npos) << text;
}
