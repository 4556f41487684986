#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

using namespace orvanectl;
using aspn2_msgs::idl::EventLog;
using Ending = ChildProcess::Ending;

namespace {

std::shared_ptr<EventLog> event(std::int64_t number)
{
    auto record = std::make_shared<EventLog>();
    record->header().seq_num(number);
    record->header().device_id(0x01600000);
    record->header().timestamp_arrival().sec(100 + number);
    record->header().timestamp_valid().sec(100 + number);
    record->eventlog("event " + std::to_string(number));
    return record;
}

/// A recording of three events, 20 ms apart, on the topic "Log", a reliable one, and one on "Other"; and a listener to the
/// former.
struct PlayTransportTest : testing::Test {
    PlayTransportTest()
    {
        mcap::FileOutput output(recording);
        Recorder recorder(output, chooseTopics(file, {}, ""), {}, {});
        for (std::int64_t i = 1; i <= 3; ++i)
            recorder.take({0, {}, event(i)}, 1'000'000'000 + static_cast<std::uint64_t>(i) * 20'000'000);
        recorder.take({1, {}, event(4)}, 1'060'000'000);
        recorder.close({});
    }

    ChildProcess play(std::vector<std::string> arguments, const std::string& input = "/dev/null",
                      const std::string& wait = "30") const
    {
        arguments.insert(arguments.begin(), {ORVANE_CTL_BINARY, "play", recording, "--no-registers", "--wait", wait,
                                             "--connections", connections});
        return ChildProcess(arguments, input);
    }

    const std::vector<Sample>& await(std::size_t count)
    {
        EXPECT_TRUE(eventually([&] {
            for (Sample& sample : watch.samples().take()) samples.push_back(std::move(sample));
            return samples.size() >= count;
        })) << samples.size();
        return samples;
    }

    std::int64_t arrivalOf(std::size_t sample) const
    {
        return static_cast<const EventLog*>(samples.at(sample).record.get())->header().timestamp_arrival().sec();
    }

    const TransportConfig config =
        TransportConfig().set("HistoryDepth", "1000").connect("Log", "EventLog").connect("Other", "EventLog");
    const TemporaryDirectory directory;
    const std::string connections = directory.write("Connections.xml", config.text());
    const std::string recording = connections + ".mcap";
    const ConnectionFile file{connections};
    TopicWatch watch{file, chooseTopics(file, {"Log"}, ""), Delivery{true}};
    std::vector<Sample> samples;
};

}  // namespace

TEST_F(PlayTransportTest, RecordsArriveAsTheyWere)
{
    ChildProcess tool = play({"--channel", "Log"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_TRUE(tool.output().starts_with("orvanectl: 3 messages played in ")) << tool.output();
    await(3);
    const RecordType& type = *findRecordType("EventLog");
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(payloadOf(type, samples[i].record.get()),
                  payloadOf(type, event(static_cast<std::int64_t>(i) + 1).get()));
}

TEST_F(PlayTransportTest, NobodyAtAllIsAFailure)
{
    ChildProcess tool = play({"--channel", "Other"}, "/dev/null", "0.1");
    EXPECT_EQ(tool.wait(), (Ending{1, 0}));
    EXPECT_EQ(tool.errors(), "orvanectl: nobody subscribes to any topic of the recording in domain " +
                                 file.domain().at("DomainId") + "\n");
}

TEST_F(PlayTransportTest, LoopBeginsAgainWithTimesThatGoOn)
{
    ChildProcess tool = play({"--channel", "Log", "--loop", "--rate", "20"});
    await(6);
    tool.send(SIGINT);
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_EQ(arrivalOf(2), 103);
    EXPECT_EQ(arrivalOf(3), 102);  // of record 1: a second and 40 ms later
    EXPECT_EQ(static_cast<const EventLog*>(samples[3].record.get())->header().timestamp_arrival().nsec(), 40'000'000);
}

TEST_F(PlayTransportTest, StepPlaysAMessageForEachLine)
{
    ChildProcess tool = play({"--channel", "Log", "--step"}, directory.write("keys", "\n."));
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_TRUE(tool.output().starts_with("orvanectl: 2 messages played in ")) << tool.output();
    EXPECT_EQ(arrivalOf(await(2).size() - 1), 102);
}

TEST_F(PlayTransportTest, PausedOneGoesOnWithAKey)
{
    ChildProcess tool = play({"--channel", "Log", "--pause"}, directory.write("keys", " "));
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_TRUE(tool.output().starts_with("orvanectl: 3 messages played in ")) << tool.output();
}

TEST_F(PlayTransportTest, SignalBeforeTheEndIsToldAsAFailure)
{
    ChildProcess tool = play({"--channel", "Log", "--rate", "0.001"});
    await(1);
    tool.send(SIGINT);
    EXPECT_EQ(tool.wait(), (Ending{1, 0}));
    EXPECT_EQ(tool.errors(), "orvanectl: 1 of 3 messages played, broken off by a signal\n");
}

TEST_F(PlayTransportTest, ChannelThatThereIsNotIsMisuse)
{
    ChildProcess tool = play({"--channel", "Lgo"});
    EXPECT_EQ(tool.wait(), (Ending{2, 0}));
    EXPECT_EQ(tool.errors(), "orvanectl: " + recording + ": no channel Lgo that can be played; did you mean Log?\n");
}
