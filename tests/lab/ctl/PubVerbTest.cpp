#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

using Ending = ChildProcess::Ending;
using namespace std::chrono_literals;

namespace {

constexpr const char* kTool = ORVANE_CTL_BINARY;
constexpr std::streamoff kSystemCount = 0x43C20000 + 128;  // of the unit's time stamp block

void writeCount(std::uint64_t ticks)
{
    std::array<char, sizeof ticks> bytes;
    std::memcpy(bytes.data(), &ticks, bytes.size());
    std::fstream("/dev/mem", std::ios::in | std::ios::out | std::ios::binary)
        .seekp(kSystemCount)
        .write(bytes.data(), bytes.size());
}

/// The unit's count, which goes on while this lives.
class RunningRegisters {
public:
    ~RunningRegisters()
    {
        m_isOver = true;
        m_thread.join();
    }

private:
    void run() const
    {
        const auto start = std::chrono::steady_clock::now();
        while (!m_isOver) {
            const std::chrono::duration<double> up = std::chrono::steady_clock::now() - start;
            writeCount(static_cast<std::uint64_t>((1000 + up.count()) * 58982400));
            std::this_thread::sleep_for(2ms);
        }
    }

    std::atomic<bool> m_isOver = false;
    std::thread m_thread{[this] { run(); }};
};

/// When each record of `echo --json` was stamped, in seconds.
std::vector<double> arrivalsIn(const std::string& shown)
{
    const std::regex stamp(R"("timestamp_arrival":\{"sec":([0-9]+),"nsec":([0-9]+))");
    std::vector<double> times;
    for (auto at = std::sregex_iterator(shown.begin(), shown.end(), stamp); at != std::sregex_iterator(); ++at)
        times.push_back(std::stod((*at)[1]) + std::stod((*at)[2]) / 1e9);
    return times;
}

}  // namespace

// The connection file and the registers are the unit's own, so each test has one.

TEST(PubVerbTest, WhatIsPublishedIsWhatEchoShows)
{
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "3", "--backfill"});
    ChildProcess pub({kTool, "pub", "UTCTime", "--from", "MasterClock", "--set", "gps_week=2445", "--count", "3",
                      "--wait", "60", "--rate", "100"});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(pub.output(), "orvanectl: 3 records published\n");
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    for (const char* number : {"\"seq_num\":0,", "\"seq_num\":1,", "\"seq_num\":2,"})
        EXPECT_NE(echo.output().find(number), std::string::npos) << echo.output();
    EXPECT_NE(echo.output().find("\"gps_week\":2445,"), std::string::npos) << echo.output();
    EXPECT_NE(echo.output().find("\"server_name\":\"MasterClock\""), std::string::npos) << echo.output();
}

TEST(PubVerbTest, ABurstBeyondTheHistoryArrivesWhole)
{
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "300", "--backfill", "--for", "25"});
    ChildProcess pub({kTool, "pub", "UTCTime", "--wait", "60", "--rate", "100000", "--count", "300"});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    EXPECT_NE(echo.output().find("\"records\":300,\"gaps\":0,"), std::string::npos) << echo.output();
}

TEST(PubVerbTest, WhatWasShownGoesBackUnchanged)
{
    const std::string lines =
        R"({"kind":"record","topic":"UTCTime","type":"UTCTime","header":{"seq_num":9,"timestamp_arrival":{"sec":5,"nsec":0,"time_code":100},)"
        R"("timestamp_valid":{"sec":4,"nsec":7,"time_code":100},"device_id":{"value":"0x01250000","system":1,"system_name":"KOLT",)"
        R"("server":37,"server_name":"MasterClock","message":0,"topic":0}},"message":{"gps_tow_sec":1,"gps_tow_nsec":2.5,"gps_week":3,)"
        R"("utc_tod_sec":4,"utc_tod_nsec":5.0,"a1":null,"covariance":[[1.0,0.0],[0.0,0.1]]},"notes":["message.a1 is nan"]})";
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "1", "--backfill"});
    ChildProcess pub({"/bin/sh", "-c", "printf '%s\\n' \"$1\" | \"$0\" pub --file - --wait 60", kTool, lines});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    EXPECT_TRUE(echo.output().starts_with(lines + "\n")) << echo.output();
}

TEST(PubVerbTest, WhatItStampsIsTheUnitsTime)
{
    writeCount(59'011'891'200);  // 1000.5 s
    const std::string line =
        R"({"topic":"UTCTime","type":"UTCTime","header":{"seq_num":9,"timestamp_valid":{"sec":4}},)"
        R"("message":{}})";
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "2", "--backfill"});
    ChildProcess pub({"/bin/sh", "-c",
                      "\"$0\" pub UTCTime --set gps_week=1 --wait 60 && "
                      "printf '%s\\n' \"$1\" | \"$0\" pub --file - --now --wait 60",
                      kTool, line});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    const std::regex stamped(
        R"("seq_num":0,"timestamp_arrival":\{"sec":1000,[^}]*\},"timestamp_valid":\{"sec":1000,"nsec":[^}]*,"time_code":100\})");
    const std::string shown = echo.output();
    EXPECT_EQ(std::distance(std::sregex_iterator(shown.begin(), shown.end(), stamped), std::sregex_iterator()), 2)
        << shown;
}

TEST(PubVerbTest, LinesOfAFileGoOutInTheirOwnTime)
{
    const RunningRegisters registers;
    std::ofstream("/tmp/lines")
        << R"({"topic":"UTCTime","type":"UTCTime","header":{"timestamp_valid":{"sec":4}},"message":{}})"
           "\n"
        << R"({"topic":"UTCTime","type":"UTCTime","header":{"timestamp_valid":{"sec":5}},"message":{}})"
           "\n";
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "4", "--backfill"});
    // Which begin anew behind the last one.
    ChildProcess pub({kTool, "pub", "--file", "/tmp/lines", "--count", "4", "--wait", "60"});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    const auto sent = arrivalsIn(echo.output());
    ASSERT_EQ(sent.size(), 4u) << echo.output();
    // The registers themselves may be late, by far less than a pause.
    EXPECT_GE(sent[1] - sent[0], 0.5) << echo.output();
    EXPECT_GE(sent[3] - sent[0], 1.5) << echo.output();
}

TEST(PubVerbTest, AFrameGoesIntoItsQueue)
{
    ChildProcess reader({"/bin/sh", "-c", "head -c 468 /dev/mcs5 | \"$0\" decode --json -", kTool});
    ChildProcess pub({kTool, "pub", "8504", "--set", "status096.receiver_failure=1", "--set", "header.seq_num=7"});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(pub.output(), "orvanectl: 1 frame sent\n");
    EXPECT_EQ(reader.wait(), Ending({0, 0})) << reader.errors();
    for (const char* text : {"\"receiver_failure\":1,", "\"seq_num\":7,", "\"server_name\":\"ZentorM\""})
        EXPECT_NE(reader.output().find(text), std::string::npos) << reader.output();
}

TEST(PubVerbTest, AFrameOfTheReceiverGoesIntoTheDesksCopyToo)
{
    std::filesystem::create_directory("/tmp/desk");
    std::ofstream{"/tmp/desk/receiver"};
    ChildProcess reader({"/bin/sh", "-c", "head -c 58 /dev/mcs5 >/dev/null; head -c 58 /dev/mcs6 >/dev/null"});
    for (const char* const frame : {"8504", "15051"}) {
        ChildProcess pub({kTool, "pub", frame, "--hex", "AB CD"});
        EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    }
    EXPECT_EQ(reader.wait(), Ending({0, 0})) << reader.errors();
    EXPECT_EQ(std::filesystem::file_size("/tmp/desk/receiver"), 58u);
}

TEST(PubVerbTest, AThreatGoesIntoItsOwnQueueAndHexAsItIs)
{
    ChildProcess reader({"/bin/sh", "-c", "head -c 58 /dev/mcs6 | tail -c 2 | od -An -tx1"});
    ChildProcess pub({kTool, "pub", "15051", "--hex", "AB CD"});
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(reader.wait(), Ending({0, 0})) << reader.errors();
    EXPECT_EQ(reader.output(), " ab cd\n");
}

TEST(PubVerbTest, AQueueThatNobodyReadsIsTold)
{
    ChildProcess pub({kTool, "pub", "5044", "--wait", "0.1"});
    EXPECT_EQ(pub.wait(), Ending({1, 0}));
    EXPECT_EQ(pub.errors(),
              "orvanectl: /dev/mcs5: nobody takes the frames; the service reads its queues once it runs\n");
}

TEST(PubVerbTest, LinesOfTheStandardInputGoOutAsTheyCome)
{
    const std::string script =
        "mkfifo /tmp/go; line='{\"topic\":\"UTCTime\",\"type\":\"UTCTime\",\"message\":{}}'; "
        "(echo \"$line\"; cat /tmp/go; echo \"$line\") | \"$0\" pub --file - --wait 60 --system RENS";
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "2", "--backfill"});
    ChildProcess pub({"/bin/sh", "-c", script, kTool});
    EXPECT_TRUE(eventually([&] { return echo.output().find("\"seq_num\":0,") != std::string::npos; }));
    std::ofstream{"/tmp/go"};
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
    EXPECT_EQ(pub.output(), "orvanectl: 2 records published\n");
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    EXPECT_NE(echo.output().find("\"seq_num\":1,"), std::string::npos) << echo.output();
    EXPECT_NE(echo.output().find("\"system_name\":\"RENS\""), std::string::npos) << echo.output();
}

TEST(PubVerbTest, BrokenOffItSaysHowFarItCameAndFails)
{
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "1", "--backfill"});
    ChildProcess pub({kTool, "pub", "UTCTime", "--wait", "60", "--rate", "1", "--count", "1000"});
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    pub.send(SIGINT);
    EXPECT_EQ(pub.wait(), Ending({1, 0}));
    EXPECT_NE(pub.errors().find(" of 1000 records published, broken off by a signal\n"), std::string::npos)
        << pub.errors();
    EXPECT_EQ(pub.output(), "");
}

TEST(PubVerbTest, WithoutAnEndASignalIsTheEnd)
{
    ChildProcess echo({kTool, "echo", "UTCTime", "--json", "--count", "1", "--backfill"});
    ChildProcess pub({kTool, "pub", "UTCTime", "--wait", "60", "--rate", "1"});
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    pub.send(SIGINT);
    EXPECT_EQ(pub.wait(), Ending({0, 0})) << pub.errors();
}

TEST(PubVerbTest, BrokenOffBeforeASubscriberCameItFails)
{
    ChildProcess pub({kTool, "pub", "UTCTime", "--wait", "60"});
    ASSERT_TRUE(pub.waitUntilHandled(SIGINT));
    pub.send(SIGINT);
    EXPECT_EQ(pub.wait(), Ending({1, 0}));
    EXPECT_EQ(pub.errors(), "orvanectl: 0 of 1 records published, broken off by a signal\n");
}

TEST(PubVerbTest, TheFirstSignalEndsTheReadingOfLinesThatDoNotCome)
{
    ASSERT_EQ(::mkfifo("/tmp/lines", 0600), 0);
    ChildProcess pub({kTool, "pub", "--file", "/tmp/lines"});
    const std::ofstream lines("/tmp/lines");  // comes back when the tool has opened it
    pub.send(SIGINT);
    EXPECT_EQ(pub.wait(), Ending({1, 0}));
    EXPECT_EQ(pub.errors(), "orvanectl: /tmp/lines: broken off by a signal, nothing published\n");
}

TEST(PubVerbTest, WithoutASubscriberItFails)
{
    ChildProcess pub({kTool, "pub", "UTCTime", "--wait", "0.1"});
    EXPECT_EQ(pub.wait(), Ending({1, 0}));
    EXPECT_EQ(pub.errors(), "orvanectl: nobody subscribes to topic UTCTime in domain 0\n");
}

TEST(PubVerbTest, WhatIsTypedWronglyEndsWithTwo)
{
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{}, "orvanectl: give a TOPIC or --file\n"},
        {{"UTCTime", "--file", "x"}, "orvanectl: give a TOPIC or --file, not both\n"},
        {{"--file", "x", "--set", "a1=1"}, "orvanectl: --set and --type are for a TOPIC, not for --file\n"},
        {{"UTCTime", "--now"}, "orvanectl: --now is for --file; a TOPIC has times of its own\n"},
        {{"UTCTime", "--from", "MasterClok"}, "orvanectl: no server \"MasterClok\"; did you mean MasterClock?\n"},
        {{"UTCTime", "--system", "KOLD"}, "orvanectl: no system \"KOLD\"; did you mean KOLT?\n"},
        {{"UTCTime", "--system", "x"},
         "orvanectl: no system \"x\"; KOLT, RENS, SarventPlus or a number from 0 to 255 is\n"},
        {{"UTCTim"}, "orvanectl: no topic \"UTCTim\" in /opt/halvex/config/Connections.xml; did you mean UTCTime?\n"},
        {{"5404"}, "orvanectl: no topic \"5404\", and no frame; did you mean 5044?\n"},
        {{"8504", "--hex", std::string(9000, 'F')},
         "orvanectl: /dev/mcs5: a record of 4556 bytes is longer than a packet\n"},
        {{"UTCTime", "--hex", "FF"}, "orvanectl: --hex is for a frame: 5044, 8504 or 15051\n"},
        {{"8504", "--hex", "F"}, "orvanectl: --hex: pairs of hexadecimal digits must stand here\n"},
        {{"8504", "--hex", "FF", "--set", "word088=1"},
         "orvanectl: --hex is a whole frame; of its fields none can be set\n"},
        {{"8504", "--type", "GSSIP"}, "orvanectl: --type is for a topic, not for a frame\n"},
        {{"8504", "--set", "word88=1"}, "orvanectl: word88: there is no such field; did you mean word088?\n"},
        {{"UTCTime", "--set", "gps_wek=1"}, "orvanectl: gps_wek: there is no such field; did you mean gps_week?\n"}};
    for (const auto& [arguments, said] : rows) {
        std::vector<std::string> line = {kTool, "pub"};
        line.insert(line.end(), arguments.begin(), arguments.end());
        ChildProcess pub(line);
        EXPECT_EQ(pub.wait(), Ending({2, 0}));
        EXPECT_EQ(pub.errors(), said);
    }
}
