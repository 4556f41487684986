#include "aspn2_msgs/EventLog.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/system/WhatIsLeft.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

const std::string kServer = ORVANE_SERVER_BINARY;

constexpr const char* kParameters =
    "OrvaneServer: configuration parameters:  m_debug = 0, priority = 0, cpu = 0, m_quiet = 1, m_testMode = 0, "
    "m_utcSourceServerId = 0, m_pvaSourceServerId = 0, m_gssipSourceServerSet = 39,96, m_misSourceServerId = 0, "
    "m_fusionPNTSourceServerId = 0, m_clearDataInProgressTimeoutSeconds = 7200, "
    "m_clearDataRequestTimeoutSeconds = 12, m_BITtimeoutSeconds = 25\n";
constexpr const char* kBanner = "OrvaneServer KPN: 345-1290-118B  ";
constexpr const char* kStarted = "OrvaneServer: Start : Worker thread started.\n";
constexpr const char* kStopped = "OrvaneServer: Stop : worker thread stopped.\n";
constexpr const char* kDeleted = "\nOrvaneServer : VapntsService exited\n";

std::string exitLine(int signal)
{
    return "!!!!!! " + kServer + " has exited. Signal: " + std::to_string(signal) + "\n";
}

/// The service with arguments of the test's own.
std::vector<std::string> withArguments(const std::vector<std::string>& arguments)
{
    std::vector<std::string> line = Desk::commandLine();
    line.pop_back();
    line.insert(line.end(), arguments.begin(), arguments.end());
    return line;
}

struct ProcessTest : testing::Test {
    Desk desk;
};

struct SignalTest : ProcessTest, testing::WithParamInterface<int> {};

}  // namespace

TEST_F(ProcessTest, WithoutAnArgumentItPrintsItsUsageAndEndsWithOne)
{
    ChildProcess server(withArguments({}));
    EXPECT_EQ(server.wait(), Ending({1, 0}));
    EXPECT_EQ(server.output(), "Usage: " + kServer + " <top-level-config-file> \n");
    EXPECT_EQ(server.errors(), "");
}

TEST_F(ProcessTest, WithTwoArgumentsItPrintsItsUsageAndEndsWithOne)
{
    ChildProcess server(withArguments({"/opt/halvex/config/OrvaneServer.xml", "more"}));
    EXPECT_EQ(server.wait(), Ending({1, 0}));
    EXPECT_EQ(server.output(), "Usage: " + kServer + " <top-level-config-file> \n");
}

TEST_F(ProcessTest, AnUnknownFileEndsItByAnUncaughtException)
{
    ChildProcess server(withArguments({"/tmp/missing.xml"}));
    EXPECT_EQ(server.wait(), Ending({-1, SIGABRT}));
    EXPECT_TRUE(server.output().starts_with("OrvaneServer: configuration parameters:  m_debug = 0, "))
        << server.output();
    EXPECT_NE(server.output().find("]:INVALID_CONFIG Configure() failed\n"), std::string::npos) << server.output();
    EXPECT_NE(server.errors().find("INVALID_CONFIG Configure() failed"), std::string::npos) << server.errors();
}

TEST_F(ProcessTest, ItSaysWhatItIsAndHowItEnds)
{
    desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");
    const Transport transport("/opt/halvex/config/Connections.xml", "listener");
    const Subscriber<aspn2_msgs::idl::EventLog> events(transport, "EventLog");
    ChildProcess& server = desk.run();
    ASSERT_TRUE(events.inbox().waitFor(3));  // what it says at its start has left
    server.send(SIGTERM);
    EXPECT_EQ(server.wait(), Ending({0, 0}));
    const std::string output = server.output();
    const std::string begin = std::string(kParameters) + kBanner;
    ASSERT_TRUE(output.starts_with(begin)) << output;
    // Its last event finds nobody who would carry it; the one before may just have left.
    const std::string notPublished =
        "!!!!!! OrvaneServer HealthReporter could not publish event type/info = 2/OrvaneServer";
    const std::string stopped = notPublished + " stopped successfully.\n";
    const std::string end = notPublished + " : VapntsService exited\n" + exitLine(15);
    const std::string rest = output.substr(output.find('\n', begin.size()) + 1);
    EXPECT_TRUE(rest == end || rest == stopped + end) << rest;
    EXPECT_EQ(server.errors(), "");
}

TEST_F(ProcessTest, ItWalksFromStartToExitInOrder)
{
    desk.set("Debug", "true");
    ChildProcess& server = desk.run();
    server.send(SIGTERM);
    EXPECT_EQ(server.wait(), Ending({0, 0}));
    const std::string output = server.output();
    std::size_t place = 0;
    for (const char* text :
         {kBanner, "sensorServerList size fetched from m_bitFeatures = 6\n", kStarted, kStopped, kDeleted}) {
        EXPECT_EQ(desk.count(text), 1U) << text;
        const std::size_t next = output.find(text);
        EXPECT_LE(place, next) << text;
        place = next;
    }
    EXPECT_TRUE(output.ends_with(exitLine(15))) << output;
}

TEST_P(SignalTest, EndsTheServiceInOrderAndIsNamed)
{
    ChildProcess& server = desk.run();
    server.send(GetParam());
    EXPECT_EQ(server.wait(), Ending({0, 0}));
    EXPECT_TRUE(server.output().ends_with(exitLine(GetParam()))) << server.output();
}

INSTANTIATE_TEST_SUITE_P(Each, SignalTest,
                         testing::Values(SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM, SIGTRAP, SIGSYS, SIGFPE, SIGINT));

TEST_F(ProcessTest, SegmentationFaultAndHangUpKeepTheirDefaultAction)
{
    // A sanitizer would take the first one itself.
    for (const char* options : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
        const char* others = std::getenv(options);
        setenv(options, (std::string(others ? others : "") + ":handle_segv=0").c_str(), 1);
    }
    for (const int signal : {SIGSEGV, SIGHUP}) {
        ChildProcess& server = desk.run();
        server.send(signal);
        EXPECT_EQ(server.wait(), Ending({-1, signal}));
        EXPECT_EQ(server.output().find("has exited"), std::string::npos);
    }
}

TEST_F(ProcessTest, ASignalDuringStartUpTakesItsDefaultActionAndLeavesNothingBehind)
{
    const Names files = entries("/tmp"), others = processes();
    desk.letGo(5);  // it waits for somebody to open the other end
    desk.start();
    ASSERT_TRUE(desk.awaitOutput(kParameters));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({-1, SIGTERM}));
    EXPECT_EQ(desk.count("has exited"), 0U);
    EXPECT_EQ(entries("/tmp"), files);
    EXPECT_EQ(entries("/dev/shm"), Names());
    EXPECT_EQ(processes(), others);
}
