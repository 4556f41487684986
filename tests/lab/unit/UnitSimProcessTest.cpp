#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Topics.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using Ending = ChildProcess::Ending;

/// The tool with files of a test's own.
class UnitSimProcessTest : public testing::Test {
protected:
    std::vector<std::string> command(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> words = {ORVANE_UNIT_SIM,
                                          "--connections",
                                          m_connections,
                                          "--devices",
                                          ORVANE_LAB_DIR "/config/IODevices.xml",
                                          "--memory",
                                          m_memory,
                                          "--queue-prefix",
                                          (m_directory.path() / "mcs").string(),
                                          "--flags",
                                          m_directory.path().string()};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    void SetUp() override
    {
        std::filesystem::resize_file(m_memory, std::uintmax_t{1} << 32);
        for (const char* queue : {"mcs5", "mcs6"}) ASSERT_EQ(mkfifo((m_directory.path() / queue).c_str(), 0600), 0);
    }

    static std::string connectionsText()
    {
        TransportConfig config;
        for (const auto& [topic, type] : kTopics) config.connect(topic, type);
        return config.text();
    }

    TemporaryDirectory m_directory;
    std::string m_connections = m_directory.write("Connections.xml", connectionsText());
    std::string m_memory = m_directory.write("mem", "");
};

}  // namespace

TEST_F(UnitSimProcessTest, SignalsEndItInOrder)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        ChildProcess process(command({"--rate", "50"}));
        ASSERT_TRUE(eventually([&] { return process.output().find("the self test is complete") != std::string::npos; }))
            << process.errors();
        process.send(signal);
        EXPECT_EQ(process.wait(), (Ending{0, 0})) << process.errors();
        EXPECT_NE(process.output().find("unit-sim: sent "), std::string::npos);
        EXPECT_EQ(process.errors(), "");
        EXPECT_FALSE(std::filesystem::exists(m_directory.path() / "PostComplete"));
    }
}

TEST_F(UnitSimProcessTest, QuietRunSaysNothing)
{
    ChildProcess process(command({"--duration", "0.3", "--quiet"}));
    EXPECT_EQ(process.wait(), (Ending{0, 0}));
    EXPECT_EQ(process.output(), "");
    EXPECT_EQ(process.errors(), "");
}

TEST_F(UnitSimProcessTest, RealMemoryIsRefusedInOneLine)
{
    m_memory = "/dev/null";
    ChildProcess process(command());
    EXPECT_EQ(process.wait(), (Ending{1, 0}));
    EXPECT_EQ(process.errors(),
              "unit-sim: /dev/null: is no regular file, and real memory is not written: run in lab/sandbox\n");
}

TEST_F(UnitSimProcessTest, WrongOptionIsRefusedInOneLine)
{
    ChildProcess process(command({"--rate", "fast"}));
    EXPECT_EQ(process.wait(), (Ending{2, 0}));
    EXPECT_NE(process.errors().find("--rate"), std::string::npos);
}

TEST_F(UnitSimProcessTest, SummaryCountsTheFramesOfEvents)
{
    const std::string scenario =
        m_directory.write("scenario", "at 0.1 warn 6 ANTENNA OPEN\nat 0.1 threat jam + bare\n");
    ChildProcess process(command({"--duration", "0.5", "--scenario", scenario, "--warn", "7@0.2"}));
    EXPECT_EQ(process.wait(), (Ending{0, 0})) << process.errors();
    EXPECT_NE(process.output().find("unit-sim: sends the warning 6 ANTENNA OPEN\n"), std::string::npos);
    EXPECT_NE(process.output().find("unit-sim: sends a threat report, lines of bearing: 2\n"), std::string::npos);
    EXPECT_NE(process.output().find(" 8504, 2 5044, 1 15051\n"), std::string::npos) << process.output();
}

TEST_F(UnitSimProcessTest, LineOfAScenarioThatIsWrongIsRefusedInOneLine)
{
    const std::string scenario = m_directory.write("scenario", "at 1 gps-lost\nat 2 gps-bakc\n");
    ChildProcess process(command({"--scenario", scenario}));
    EXPECT_EQ(process.wait(), (Ending{2, 0}));
    EXPECT_EQ(process.errors(),
              "unit-sim: " + scenario +
                  ":2: 'gps-bakc' is nothing that happens; did you mean gps-back? (unit-sim --help tells more)\n");
}
