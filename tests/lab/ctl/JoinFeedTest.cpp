#include "lab/ctl/top/JoinFeed.h"

#include <gtest/gtest.h>

#include <string>

using namespace orvanectl;
using std::chrono::milliseconds;

namespace {

constexpr const char* kInputs[] = {"UTCTime", "PositionVelocityAttitude", "HalvexPNT", "MeasurementIncorporationStatus",
                                   "AssuranceState"};

JoinFeed::Time at(std::int64_t millisecond)
{
    return JoinFeed::Time(milliseconds(1'000'000 + millisecond));
}

/// A feed that gets inputs of a second each.
struct JoinFeedTest : testing::Test {
    static ServerSettings settings()
    {
        ServerSettings settings;
        settings.m_gssipSourceServers = {39};
        return settings;
    }

    static void take(JoinFeed& feed, const std::string& name, std::int64_t second)
    {
        const WatchedTopic topic{name, findRecordType(name)};
        Sample sample{0, {at(1000 * second), {}, second, 0, second}, topic.type->make()};
        topic.type->headerIn(sample.record.get()).timestamp_valid().sec(second);
        feed.take(topic, sample);
    }

    static void takeAll(JoinFeed& feed, std::int64_t second, const std::string& without = "")
    {
        for (const std::string name : kInputs)
            if (name != without) take(feed, name, second);
    }
};

}  // namespace

TEST_F(JoinFeedTest, InputsThatFitAreJoined)
{
    JoinFeed feed(settings(), {});
    for (int second = 1; second <= 4; ++second) takeAll(feed, second);
    EXPECT_TRUE(feed.text(at(5500)).starts_with("join rate 1.00 (")) << feed.text(at(5500));
}

TEST_F(JoinFeedTest, ATimeThatStopsIsTold)
{
    JoinFeed feed(settings(), {});
    for (int second = 1; second <= 4; ++second) takeAll(feed, second);
    EXPECT_TRUE(feed.text(at(24'500)).starts_with("no UTCTime for 20 s; join rate ")) << feed.text(at(24'500));
}

TEST_F(JoinFeedTest, ATimeThatIsRefusedIsTold)
{
    ServerSettings strict = settings();
    strict.m_utcSourceServerId = 37;
    JoinFeed feed(strict, {});
    for (int second = 1; second <= 4; ++second) takeAll(feed, second);
    const std::string text = feed.text(at(6000));
    EXPECT_TRUE(text.starts_with("UTCTime refused, from ")) << text;
    EXPECT_TRUE(text.ends_with(", so that nothing can be joined")) << text;
}

TEST_F(JoinFeedTest, AnInputThatNeverCameIsNamed)
{
    JoinFeed feed(settings(), {});
    for (int second = 1; second <= 4; ++second) takeAll(feed, second, "HalvexPNT");
    const std::string text = feed.text(at(5500));
    EXPECT_TRUE(text.starts_with("join rate 0.00 (0 of ")) << text;
    EXPECT_NE(text.find(" x no HalvexPNT"), std::string::npos) << text;
}

TEST_F(JoinFeedTest, AQueueThatNothingIsReadFromIsNamed)
{
    JoinFeed feed(settings(), {.queue = true});
    for (int second = 1; second <= 4; ++second) {
        if (second != 3) feed.takeReading(at(1000 * second - 10));
        takeAll(feed, second);
    }
    const std::string text = feed.text(at(5500));
    EXPECT_TRUE(text.ends_with(": 1 x no 8504 read")) << text;
}

TEST_F(JoinFeedTest, WithoutABusThatTellsOfItNothingCountsAsJoined)
{
    JoinFeed feed(settings(), {.bus = true});
    feed.takeBusGone(at(0));
    for (int second = 1; second <= 4; ++second) takeAll(feed, second);
    EXPECT_TRUE(feed.text(at(5500)).starts_with("join rate 0.00 (0 of ")) << feed.text(at(5500));
}

TEST_F(JoinFeedTest, LinesThatAreNoneOfTheBusDoNothing)
{
    JoinFeed feed(settings(), {.bus = true});
    for (const char* line :
         {"", "7", "[]", R"({"type":7})", R"({"type":"tell","tell":"blended-navigation"})",
          R"({"type":"tell","tell":"blended-navigation","timeOfValidity":{},"record":7})",
          R"({"type":"tell","tell":"blended-navigation","timeOfValidity":{},"record":{}})",
          R"({"type":"tell","tell":"blended-navigation","timeOfValidity":{},"record":{"gpsSeconds":"nan"}})"})
        feed.takeBusLine(BusLink::Json::parse(line, nullptr, false), at(0));
    EXPECT_NE(feed.text(at(0)), "");
}
