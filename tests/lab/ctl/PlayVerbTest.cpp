#include "lab/ctl/play/RecordTimes.h"
#include "lab/ctl/record/Recorder.h"
#include "tests/lab/ctl/Samples.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace orvanectl;
using namespace std::chrono_literals;
using Ending = ChildProcess::Ending;

// Registers and queues are the unit's own, so each test has one.

namespace {

constexpr const char* kTool = ORVANE_CTL_BINARY;
constexpr std::uint64_t kTicks = 58982400;  // a second

/// A recording of two records of the queue ZEN_HX, 100 s apart. By the first the registers were at 12 s when it came, and the
/// second tells 100 s more.
struct PlayVerbTest : testing::Test {
    PlayVerbTest()
    {
        first = second = samples::bytesOf(samples::kWarningRecord);
        moveTimes(second, 100s);
        mcap::FileOutput output(recording);
        Recorder recorder(output, {}, {"ZEN_HX"}, {});
        recorder.takeQueueRecord(0, first, 7, 1'000'000'000);
        recorder.takeQueueRecord(0, second, 7, 101'000'000'000);
        recorder.close({});
    }

    static std::uint64_t systemCount()
    {
        std::uint64_t count = 0;
        std::ifstream("/dev/mem", std::ios::binary)
            .seekg(0x43C20080)
            .read(reinterpret_cast<char*>(&count), sizeof count);
        return count;
    }

    static std::vector<std::uint8_t> bytesOf(const std::string& path)
    {
        const std::string text = readFile(path);
        return {text.begin(), text.end()};
    }

    /// Plays in a terminal, whose keys come from /tmp/keys.
    static std::vector<std::string> inTerminal(const std::string& options = "--rate 0.001")
    {
        return {"/bin/sh", "-c",
                "exec script -q -e -c \"$0 play /tmp/drive.mcap " + options + "\" /dev/null </tmp/keys", kTool};
    }

    static bool shows(const ChildProcess& tool, const std::string& text)
    {
        return eventually([&] { return tool.output().find(text) != std::string::npos; });
    }

    const std::string recording = "/tmp/drive.mcap";
    std::vector<std::uint8_t> first, second;
    ChildProcess reader{{"/bin/sh", "-c", "head -c 220 /dev/mcs5 >/tmp/taken"}};
};

}  // namespace

TEST_F(PlayVerbTest, RecordsOfAQueueGoIntoItAsTheyWere)
{
    ChildProcess tool({kTool, "play", recording, "--rate", "1000"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_EQ(reader.wait(), (Ending{0, 0})) << reader.errors();
    std::vector<std::uint8_t> both = first;
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_EQ(bytesOf("/tmp/taken"), both);
}

TEST_F(PlayVerbTest, RegistersAreWhereTheRecordsSayThatTheyWere)
{
    ChildProcess tool({kTool, "play", recording, "--rate", "1000"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_GE(systemCount(), kTicks * 112);
    EXPECT_LE(systemCount(), kTicks * (112 + 60 * 1000));
}

TEST_F(PlayVerbTest, UnitIsReadyWhileItPlays)
{
    ASSERT_EQ(::mkfifo("/tmp/keys", 0600), 0);
    ChildProcess tool({"/bin/sh", "-c", "\"$0\" play /tmp/drive.mcap --step </tmp/keys", kTool});
    std::ofstream keys("/tmp/keys");
    for (const char* flag : {"/tmp/SystemStarted", "/tmp/FirstBbitDone", "/tmp/PostComplete"})
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(flag); })) << flag;
    keys.close();
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_FALSE(std::filesystem::exists("/tmp/PostComplete"));
}

TEST_F(PlayVerbTest, TopicThatNobodyHearsIsToldAndTheRestPlayed)
{
    {
        mcap::FileOutput output("/tmp/both.mcap");
        Recorder recorder(output, {{"EventLog", findRecordType("EventLog")}}, {"ZEN_HX"}, {});
        recorder.take({0, {}, findRecordType("EventLog")->make()}, 1'000);
        recorder.takeQueueRecord(0, first, 7, 2'000);
        recorder.close({});
    }
    ChildProcess tool({kTool, "play", "/tmp/both.mcap", "--wait", "0.1"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_TRUE(tool.output().starts_with("orvanectl: 2 messages played in ")) << tool.output();
    EXPECT_TRUE(tool.output().ends_with("\norvanectl: 1 topic had no subscriber at the begin: EventLog\n"))
        << tool.output();
}

TEST_F(PlayVerbTest, RecordThatNoQueueTakesIsToldAsThat)
{
    {
        mcap::FileOutput output("/tmp/long.mcap");
        Recorder recorder(output, {}, {"ZEN_HX"}, {});
        recorder.takeQueueRecord(0, std::vector<std::uint8_t>(5000), 7, 1'000);
        recorder.close({});
    }
    ChildProcess tool({kTool, "play", "/tmp/long.mcap"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_TRUE(tool.output().ends_with("\norvanectl: 1 record left out, longer than a queue takes (4096 bytes)\n"))
        << tool.output();
}

TEST_F(PlayVerbTest, QueueThatIsNotPlayedCanBeOpenedAllTheSame)
{
    ChildProcess service({"/bin/sh", "-c", "exec 3</dev/mcs6"});
    ChildProcess tool({kTool, "play", recording, "--rate", "0.001"});
    EXPECT_EQ(service.wait(), (Ending{0, 0}));
}

TEST_F(PlayVerbTest, KeysOfATerminalPauseAndStepAndALineShowsIt)
{
    ASSERT_EQ(::mkfifo("/tmp/keys", 0600), 0);
    ChildProcess tool(inTerminal());
    std::ofstream keys("/tmp/keys");
    ASSERT_TRUE(shows(tool, "plays  0.0 of 100.0 s  x0.001  1 message "));
    keys << ' ' << std::flush;
    ASSERT_TRUE(shows(tool, "paused  0.0 of 100.0 s"));
    keys << '.' << std::flush;
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.output();
    EXPECT_NE(tool.output().find("orvanectl: 2 messages played in "), std::string::npos) << tool.output();
}

TEST_F(PlayVerbTest, KeysOfATerminalChangeTheRateAndEndIt)
{
    ASSERT_EQ(::mkfifo("/tmp/keys", 0600), 0);
    ChildProcess tool(inTerminal());
    std::ofstream keys("/tmp/keys");
    ASSERT_TRUE(shows(tool, "x0.001  1 message "));
    keys << '+' << std::flush;
    ASSERT_TRUE(shows(tool, "x0.002  1 message "));
    keys << 'q' << std::flush;
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.output();
    EXPECT_NE(tool.output().find("orvanectl: 1 message played in "), std::string::npos) << tool.output();
}

TEST_F(PlayVerbTest, KeysEndAFastOneThatGoesOnForEver)
{
    ASSERT_EQ(::mkfifo("/tmp/keys", 0600), 0);
    ChildProcess tool(inTerminal("--fast --loop --wait 0.1"));
    std::ofstream keys("/tmp/keys");
    ASSERT_TRUE(shows(tool, "messages"));
    keys << 'q' << std::flush;
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.output();
}

TEST_F(PlayVerbTest, FastOneHasTheTimesOfNow)
{
    ChildProcess tool({kTool, "play", recording, "--fast", "--wait", "30"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_EQ(reader.wait(), (Ending{0, 0})) << reader.errors();
    const auto taken = bytesOf("/tmp/taken");
    ASSERT_EQ(taken.size(), 220U);
    const auto arrival = travelHeaderOf(std::span(taken).subspan(110))->arrival;
    EXPECT_GE(arrival, 12s);
    EXPECT_LT(arrival, 100s);  // not at 112 s, as it was
}

TEST_F(PlayVerbTest, FastOneThatLeavesTheRegistersReadsTheirTime)
{
    ChildProcess tool({kTool, "play", recording, "--fast", "--no-registers", "--wait", "30"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_EQ(reader.wait(), (Ending{0, 0})) << reader.errors();
    EXPECT_EQ(systemCount(), 0U);  // of a unit that nobody plays
    EXPECT_EQ(bytesOf("/tmp/taken").size(), 220U);
}

TEST_F(PlayVerbTest, UnitOfAnotherIsLeftAlone)
{
    ChildProcess other({kTool, "play", recording, "--rate", "0.001"});
    ASSERT_TRUE(eventually([] { return std::filesystem::exists("/tmp/PostComplete"); }));
    ChildProcess tool({kTool, "play", recording, "--rate", "1000"});
    EXPECT_EQ(tool.wait(), (Ending{0, 0})) << tool.errors();
    EXPECT_TRUE(tool.output().ends_with(
        "\norvanectl: the registers were left alone: /dev/mem: another unit-sim plays this unit\n"))
        << tool.output();
    EXPECT_TRUE(std::filesystem::exists("/tmp/PostComplete"));
    EXPECT_LT(systemCount(), kTicks * 100);
}
