#include "lab/ctl/play/PlayPlan.h"
#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/play/Reel.h"
#include "lab/ctl/record/Recorder.h"
#include "tests/lab/ctl/Samples.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/ErrorOf.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvanectl;
using namespace recordings;
using namespace std::chrono_literals;
using aspn2_msgs::idl::EventLog;

namespace {

constexpr std::int32_t kService = 52;
constexpr std::int32_t kNavigator = 96;

/// A recording of the topics "Log" and "Other" and the queue "ZEN_HX", and what is played of it.
struct PlayPlanTest : testing::Test {
    void event(std::size_t topic, std::int64_t number, std::uint64_t time, std::int32_t server = kNavigator)
    {
        auto record = std::make_shared<EventLog>();
        record->header().seq_num(number);
        record->header().device_id(1 << 24 | server << 16);
        record->header().timestamp_arrival().sec(100);
        recorder.take({topic, {}, record}, time);
    }

    void queueRecord(std::uint64_t time)
    {
        const auto bytes = samples::bytesOf(samples::kWarningRecord);
        recorder.takeQueueRecord(0, bytes, 7, time);
    }

    PlayPlan plan(const PlayChoice& choice = {})
    {
        if (!source) {
            recorder.close({});
            source.emplace(output.text);
        }
        return planOf(*source, "x.mcap", choice);
    }

    /// The names of where the messages go, with their places in nanoseconds.
    std::vector<std::string> played(const PlayChoice& choice = {})
    {
        const PlayPlan made = plan(choice);
        Reel reel(*source, made);
        std::vector<std::string> lines;
        while (const auto cue = reel.next())
            lines.push_back(made.ways[cue->channel.way].name + ' ' + std::to_string(cue->place.count()));
        return lines;
    }

    using Lines = std::vector<std::string>;

    TextOutput output;
    Recorder recorder{
        output, {{"Log", findRecordType("EventLog")}, {"Other", findRecordType("EventLog")}}, {"ZEN_HX"}, {}};
    std::optional<TextSource> source;
};

}  // namespace

TEST_F(PlayPlanTest, TopicsAndQueuesArePlayedInTheOrderOfTheirTimes)
{
    event(0, 1, 1'000);
    event(1, 2, 3'000);
    queueRecord(2'000);
    EXPECT_EQ(played(), (Lines{"Log 0", "ZEN_HX 1000", "Other 2000"}));
}

TEST_F(PlayPlanTest, RecordingIsReadOnceUnlessItsStartIsSought)
{
    for (std::uint64_t i = 1; i <= 100; ++i) event(0, static_cast<std::int64_t>(i), i * 1'000);
    plan();
    const std::uint64_t once = source->bytesRead;
    EXPECT_LT(once, output.text.size() * 3 / 2);
    plan({{}, 1e-6, false});
    EXPECT_GT(source->bytesRead, once * 5 / 2);
}

TEST_F(PlayPlanTest, MessagesOfOneTimeStayInTheirOrder)
{
    event(1, 1, 1'000);
    event(0, 2, 1'000);
    queueRecord(1'000);
    EXPECT_EQ(played(), (Lines{"Other 0", "Log 0", "ZEN_HX 0"}));
}

TEST_F(PlayPlanTest, WhatTheServiceHadSentIsLeftOutUnlessItIsAskedFor)
{
    event(0, 1, 1'000, kService);
    event(0, 2, 2'000);
    EXPECT_EQ(plan().own, 1U);
    EXPECT_EQ(played(), Lines{"Log 0"});
    EXPECT_EQ(played({{}, 0, true}), (Lines{"Log 0", "Log 1000"}));
}

TEST_F(PlayPlanTest, ChosenChannelsAlonePlay)
{
    event(0, 1, 1'000);
    event(1, 2, 2'000);
    queueRecord(3'000);
    EXPECT_EQ(played({{"Other", "queue/ZEN_HX"}, 0, false}), (Lines{"Other 0", "ZEN_HX 1000"}));
}

TEST_F(PlayPlanTest, StartIsCountedFromTheFirstMessageOfAll)
{
    recorder.takeBusLine("{}", 1'000'000'000);
    event(0, 1, 2'000'000'000);
    event(0, 2, 3'500'000'000);
    EXPECT_EQ(played({{}, 1.5, false}), Lines{"Log 0"});
    EXPECT_EQ(plan({{}, 1.5, false}).first, 3'500'000'000U);
}

TEST_F(PlayPlanTest, BytesThatWereNoRecordGoIntoTheirQueue)
{
    recorder.takeQueueRest(0, samples::bytesOf("?!"), 1'000);
    queueRecord(2'000);
    const PlayPlan made = plan();
    EXPECT_EQ(made.messages, 2U);
    EXPECT_EQ(played(), (Lines{"ZEN_HX 0", "ZEN_HX 1000"}));
    EXPECT_FALSE(Reel(*source, made).next()->channel.hasRecords);
}

TEST_F(PlayPlanTest, RegistersAreAsTheMiddleRecordSays)
{
    for (const std::uint64_t time : {0U, 99U, 98U}) event(0, 1, 7'000'000'000 + time * 1'000'000'000);
    EXPECT_EQ(plan().registersAhead, 100s - 105s);
}

TEST_F(PlayPlanTest, ChannelThatThereIsNotIsRefusedWithTheNearest)
{
    event(0, 1, 1'000);
    EXPECT_EQ(errorOf([&] {
                  plan({{"Lgo"}, 0, false});
              }),
              "x.mcap: no channel Lgo that can be played; did you mean Log?");
}

TEST_F(PlayPlanTest, BusCantBePlayed)
{
    recorder.takeBusLine("{}", 1'000);
    event(0, 1, 1'000);
    EXPECT_THROW(plan({{"bus"}, 0, false}), UnknownName);
}

TEST_F(PlayPlanTest, RecordingWithNothingToPlayIsRefused)
{
    event(0, 1, 1'000, kService);
    EXPECT_EQ(errorOf([&] { plan(); }), "x.mcap: has nothing to play");
}

TEST_F(PlayPlanTest, CutOffRecordingPlaysAsFarAsItGoes)
{
    event(0, 1, 1'000);
    recorder.settle({});
    const std::size_t size = output.text.size();
    event(0, 2, 2'000);
    recorder.settle({});
    const TextSource cut(output.text.substr(0, size + 20));
    EXPECT_EQ(planOf(cut, "x.mcap", {}).messages, 1U);
    EXPECT_EQ(planOf(cut, "x.mcap", {}).trouble,
              "was cut off at byte " + std::to_string(size) + ", or its end is damaged");
    EXPECT_EQ(planOf(TextSource(output.text), "x.mcap", {}).messages, 2U);
}

TEST_F(PlayPlanTest, WholeRecordingIsNoTrouble)
{
    event(0, 1, 1'000);
    EXPECT_EQ(plan().trouble, "");
}

TEST(PlayPlanOfOthersTest, TypesThatNobodyKnowsAreCountedAndLeftOut)
{
    TextOutput output;
    mcap::Writer writer(output, {});
    const auto channel = writer.addChannel(writer.addSchema("their::Type", "omgidl", ""), "Theirs", "cdr", {});
    const auto known = writer.addChannel(writer.addSchema("EventLog", "omgidl", ""), "Log", "cdr", {});
    const auto bytes = samples::bytesOf("data");
    writer.add(mcap::Message{channel, 0, 1'000, 1'000, bytes});
    writer.add(mcap::Message{known, 0, 1'000, 1'000, bytes});
    writer.close();
    const PlayPlan plan = planOf(TextSource(output.text), "x.mcap", {});
    EXPECT_EQ(plan.foreign, 1U);
    EXPECT_EQ(plan.messages, 1U);
    EXPECT_FALSE(plan.registersAhead);
}
