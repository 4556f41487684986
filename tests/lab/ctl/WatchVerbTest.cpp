#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

/// The tool on a connection file of the test's own; nothing here gets as far as the network.
struct WatchVerbTest : testing::Test {
    Ending run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), ORVANE_CTL_BINARY);
        ChildProcess tool(arguments);
        const Ending ending = tool.wait();
        output = tool.output();
        errors = tool.errors();
        return ending;
    }

    TemporaryDirectory directory;
    const std::string text = readFile(ORVANE_LAB_DIR "/config/Connections.xml");
    std::string output;
    std::string errors;
};

}  // namespace

TEST_F(WatchVerbTest, WrongCommandLineEndsWithTwo)
{
    const std::vector<std::vector<std::string>> lines = {
        {"echo"},
        {"echo", "UTCTime", "--bogus"},
        {"echo", "UTCTime", "--count", "x"},
        {"echo", "UTCTime", "--for", "0"},
        {"echo", "UTCTime", "--for", "-1"},
        {"echo", "UTCTime", "--for", "nan"},
        {"echo", "UTCTime", "--for", "inf"},
        {"echo", "UTCTime", "--window", "1"},
        {"hz", "--window", "0"},
        {"hz", "--every", "1e300"},
        {"hz", "--backfill"},
        {"play", "/missing/x.mcap", "--rate", "nan"},
        {"play", "/missing/x.mcap", "--start", "nan"},
        {"cut", "/missing/x.mcap", "-o", "/missing/y.mcap", "--from", "nan"},
        {"cut", "/missing/x.mcap", "-o", "/missing/y.mcap", "--to", "-nan"},
        {"pub", "UTCTime", "--connections", "/missing/c.xml", "--rate", "nan"},
        {"cut", "/missing/x.mcap", "-o", "/missing/y.mcap", "--from", "2", "--to", "1"},
        {"record", "--connections", "/missing/c.xml", "--queue", "ZEN_HX/rest=/tmp/copy"},
        {"record", "--connections", "/missing/c.xml", "--queue", "A=/tmp/copy", "--queue", "A=/tmp/other"},
    };
    for (const auto& line : lines) {
        EXPECT_EQ(run(line), Ending({2, 0})) << line.back();
        EXPECT_TRUE(errors.starts_with("orvanectl: ")) << errors;
        EXPECT_EQ(output, "");
    }
}

TEST_F(WatchVerbTest, UnknownTopicOrTypeEndsWithTwoAndALineThatListsWhatThereIs)
{
    const std::string file = directory.write("c.xml", text);
    EXPECT_EQ(run({"echo", "Event", "--connections", file}), Ending({2, 0}));
    EXPECT_EQ(errors, "orvanectl: no topic \"Event\" in " + file +
                          ", which has: BitReport, Command, Response, PositionVelocityAttitude, UTCTime, HalvexPNT, "
                          "MeasurementIncorporationStatus, AssuranceState, EventLog, MaintenanceEvent\n");
    EXPECT_EQ(run({"hz", "UTCTime", "--type", "Time", "--connections", file}), Ending({2, 0}));
    EXPECT_TRUE(errors.starts_with("orvanectl: no type \"Time\"; there are: Altitude, ")) << errors;
    EXPECT_EQ(output, "");
}

TEST_F(WatchVerbTest, ConnectionFileThatCannotBeUsedEndsWithOneAndALine)
{
    for (const char* verb : {"echo", "hz"}) {
        EXPECT_EQ(run({verb, "UTCTime", "--connections", "/missing/c.xml"}), Ending({1, 0}));
        EXPECT_EQ(errors, "orvanectl: /missing/c.xml: No such file or directory\n");
        EXPECT_EQ(output, "");
    }
}

TEST_F(WatchVerbTest, NoParticipantEndsWithOneAndALine)
{
    const auto varied = [this](const std::string& from, const std::string& to) {
        std::string changed = text;
        changed.replace(changed.find(from), from.size(), to);
        return directory.write("c.xml", changed);
    };
    std::string file = varied("<DomainId>0", "<DomainId>233");
    EXPECT_EQ(run({"echo", "UTCTime", "--connections", file}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: " + file + ": no DDS participant can be made: domain 233, transport UDP\n");
    EXPECT_EQ(output, "");
    file = varied("<UseTransport>UDP", "<UseTransport>Pigeon");
    EXPECT_EQ(run({"hz", "--connections", file}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: " + file + ": no DDS participant can be made: domain 0, transport Pigeon\n");
    EXPECT_EQ(output, "");
}

TEST_F(WatchVerbTest, HelpTellsWhichFileIsRead)
{
    EXPECT_EQ(run({"echo", "--help"}), Ending({0, 0}));
    EXPECT_NE(output.find("/opt/halvex/config/Connections.xml"), std::string::npos) << output;
}
