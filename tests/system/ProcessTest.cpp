#include "tests/support/ChildProcess.h"
#include "tests/support/ServiceConfig.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

const std::string kServer = ORVANE_SERVER_BINARY;

constexpr const char* kParameters =
    "OrvaneServer: configuration parameters:  m_debug = 1, priority = 0, cpu = 0, m_quiet = 1, m_testMode = 0, "
    "m_utcSourceServerId = 1, m_pvaSourceServerId = 2, m_gssipSourceServerSet = 3,4, m_misSourceServerId = 5, "
    "m_fusionPNTSourceServerId = 6, m_clearDataInProgressTimeoutSeconds = 3600, "
    "m_clearDataRequestTimeoutSeconds = 10, m_BITtimeoutSeconds = 30\n";
constexpr const char* kStarted = "OrvaneServer: Start : Worker thread started.\n";
constexpr const char* kStopped = "OrvaneServer: Stop : worker thread stopped.\n";

std::string exitLine(int signal)
{
    return "!!!!!! " + kServer + " has exited. Signal: " + std::to_string(signal) + "\n";
}

struct ProcessTest : testing::Test {
    TemporaryDirectory directory;
    std::string config = directory.write("service.xml", ServiceConfig().set("Debug", "true").text());
};

struct SignalTest : ProcessTest, testing::WithParamInterface<int> {};

}  // namespace

TEST_F(ProcessTest, WithoutAnArgumentItPrintsItsUsageAndEndsWithOne)
{
    ChildProcess server({kServer});
    EXPECT_EQ(server.wait(), Ending({1, 0}));
    EXPECT_EQ(server.output(), "Usage: " + kServer + " <top-level-config-file> \n");
    EXPECT_EQ(server.errors(), "");
}

TEST_F(ProcessTest, WithTwoArgumentsItPrintsItsUsageAndEndsWithOne)
{
    ChildProcess server({kServer, config, "more"});
    EXPECT_EQ(server.wait(), Ending({1, 0}));
    EXPECT_EQ(server.output(), "Usage: " + kServer + " <top-level-config-file> \n");
}

TEST_F(ProcessTest, AnUnknownFileEndsItByAnUncaughtException)
{
    ChildProcess server({kServer, (directory.path() / "missing.xml").string()});
    EXPECT_EQ(server.wait(), Ending({-1, SIGABRT}));
    EXPECT_TRUE(server.output().starts_with("OrvaneServer: configuration parameters:  m_debug = 0, "))
        << server.output();
    EXPECT_NE(server.output().find("]:INVALID_CONFIG Configure() failed\n"), std::string::npos) << server.output();
    EXPECT_NE(server.errors().find("INVALID_CONFIG Configure() failed"), std::string::npos) << server.errors();
}

TEST_F(ProcessTest, ItWalksFromStartToExitInOrder)
{
    ChildProcess server({kServer, config});
    ASSERT_TRUE(server.waitUntilHandled(SIGINT));
    EXPECT_TRUE(eventually([&] { return server.output() == std::string(kParameters) + kStarted; })) << server.output();
    server.send(SIGTERM);
    EXPECT_EQ(server.wait(), Ending({0, 0}));
    EXPECT_EQ(server.output(), std::string(kParameters) + kStarted + kStopped + exitLine(15));
    EXPECT_EQ(server.errors(), "");
}

TEST_P(SignalTest, EndsTheServiceInOrderAndIsNamed)
{
    ChildProcess server({kServer, config});
    ASSERT_TRUE(server.waitUntilHandled(SIGINT));  // the last one to be installed
    server.send(GetParam());
    EXPECT_EQ(server.wait(), Ending({0, 0}));
    EXPECT_TRUE(server.output().ends_with(kStopped + exitLine(GetParam()))) << server.output();
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
        ChildProcess server({kServer, config});
        ASSERT_TRUE(server.waitUntilHandled(SIGINT));
        server.send(signal);
        EXPECT_EQ(server.wait(), Ending({-1, signal}));
        EXPECT_EQ(server.output().find("has exited"), std::string::npos);
    }
}

TEST_F(ProcessTest, ASignalDuringStartUpTakesItsDefaultAction)
{
    // Its first line does not fit into the full pipe, so that it can't get past its configuration.
    int pipe[2];
    ASSERT_EQ(pipe2(pipe, O_NONBLOCK | O_CLOEXEC), 0);
    while (write(pipe[1], "x", 1) == 1) {
    }
    ASSERT_EQ(fcntl(pipe[1], F_SETFL, 0), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        dup2(pipe[1], 1);
        execl(kServer.c_str(), kServer.c_str(), config.c_str(), nullptr);
        _exit(99);
    }
    const std::string process = "/proc/" + std::to_string(child);
    const bool isConfiguring = eventually([&] {
        std::error_code error;
        return std::filesystem::read_symlink(process + "/exe", error) == std::filesystem::canonical(kServer) &&
               readFile(process + "/syscall").starts_with(std::to_string(SYS_write) + " 0x1 ");
    });
    EXPECT_TRUE(isConfiguring);
    kill(child, isConfiguring ? SIGTERM : SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    close(pipe[0]);
    close(pipe[1]);
}
