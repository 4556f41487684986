#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/OrvaneServerMain.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/NotifySocket.h"
#include "tests/support/ProcessState.h"
#include "utilities/ConsoleOutput.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

/// The process entry; its own name belongs to the test program.
int orvaneServerMain(int argc, char* argv[]);

using FACE::RETURN_CODE_TYPE;
using FACE::LCM::Halvex::ReportedState;
using FACE::LCM::Halvex::RequestedState;
using namespace std::chrono_literals;

namespace {

/// What the server below answers, and what it was asked.
struct Script {
    std::map<std::string, std::vector<RETURN_CODE_TYPE::Value>> answers;  // of a step, in turn; then NO_ERROR
    std::vector<std::string> calls;
    std::function<void()> onStart = [] {};
    std::function<void()> onStop = [] {};
    std::string consoleAtEnd;
    const ConsoleCapture* console = nullptr;
};
Script s_script;

void answer(const std::string& step, RETURN_CODE_TYPE::Value& rc)
{
    s_script.calls.push_back(step);
    auto& answers = s_script.answers[step];
    rc = answers.empty() ? RETURN_CODE_TYPE::NO_ERROR : answers.front();
    if (!answers.empty()) answers.erase(answers.begin());
}

std::string textOf(const FACE::String& text)
{
    return text.is_valid() ? text.buffer() : "<invalid>";
}

}  // namespace

// A server that follows the script, in place of the service's own.
OrvaneServer::OrvaneServer(const std::string&)
    : m_bus(m_settings, {}), m_clearDataCommand(m_settings.m_serverName), m_faultConsole(m_settings.m_serverName, m_bus)
{
    s_script.calls.push_back("construct");
}
OrvaneServer::~OrvaneServer()
{
    s_script.calls.push_back("destroy");
    if (s_script.console) s_script.consoleAtEnd = s_script.console->text();
}
OrvaneServer::ReporterGuard::~ReporterGuard() = default;
void OrvaneServer::Initialize(RETURN_CODE_TYPE::Value& rc)
{
    answer("Initialize", rc);
}
void OrvaneServer::Finalize(RETURN_CODE_TYPE::Value& rc)
{
    answer("Finalize", rc);
}
void OrvaneServer::Configure(const FACE::String& file, RETURN_CODE_TYPE::Value& rc)
{
    answer("Configure " + textOf(file), rc);
}
void OrvaneServer::Framework_Connect(const FACE::String& file, RETURN_CODE_TYPE::Value& rc)
{
    answer("Framework_Connect " + textOf(file), rc);
}
void OrvaneServer::Framework_Disconnect(RETURN_CODE_TYPE::Value& rc)
{
    answer("Framework_Disconnect", rc);
}
void OrvaneServer::Query_State(ReportedState::Value&, RETURN_CODE_TYPE::Value&) {}
void OrvaneServer::Request_State_Transition(RequestedState::Value requested, RETURN_CODE_TYPE::Value& rc)
{
    (requested == RequestedState::START ? s_script.onStart : s_script.onStop)();
    answer(requested == RequestedState::START ? "START" : "STOP", rc);
}
std::vector<const ThreadPulse*> OrvaneServer::threads() const
{
    return {&m_workerPulse};
}
void OrvaneServer::checkForFaultTestEvents() {}
void OrvaneServer::attemptBlendedNavigationProcessing() {}

namespace {

const std::vector<std::string> kWholeWalk = {
    "construct", "Initialize", "Configure file", "Framework_Connect file", "START", "STOP", "Framework_Disconnect",
    "Finalize",  "destroy"};

/// The console of the process entry, there before a test looks at what is printed: only the first one counts.
struct InstalledConsole {
    InstalledConsole() { ConsoleOutput::install(); }
};

struct OrvaneServerWalkTest : testing::Test {
    OrvaneServerWalkTest()
    {
        s_script = {};
        s_script.console = &console;
        exitFlag = 1;  // the signal has come already
        exitSignal = 15;
        transactionPollMs = 1;
        exitPollMs = 1;
    }
    ~OrvaneServerWalkTest() override
    {
        for (const int signal : {SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM, SIGTRAP, SIGSYS, SIGFPE, SIGINT})
            std::signal(signal, SIG_DFL);
    }

    int walk()
    {
        std::string program = "service", file = "file";
        char* arguments[] = {program.data(), file.data(), nullptr};
        return orvaneServerMain(2, arguments);
    }

    const InstalledConsole installed;
    ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(OrvaneServerWalkTest, StepsRunInTheirOrder)
{
    EXPECT_EQ(walk(), 0);
    EXPECT_EQ(s_script.calls, kWholeWalk);
}

TEST_F(OrvaneServerWalkTest, WithoutAnArgumentTheServerIsNotConstructed)
{
    std::string program = "service";
    char* arguments[] = {program.data(), nullptr};
    EXPECT_EQ(orvaneServerMain(1, arguments), 1);
    EXPECT_TRUE(s_script.calls.empty());
    EXPECT_EQ(console.text(), "Usage: service <top-level-config-file> \n");
}

TEST_F(OrvaneServerWalkTest, NoActionCountsAsSuccessInEveryStep)
{
    for (const std::string& step : kWholeWalk) s_script.answers[step] = {RETURN_CODE_TYPE::NO_ACTION};
    EXPECT_EQ(walk(), 0);
    EXPECT_EQ(s_script.calls, kWholeWalk);
}

TEST_F(OrvaneServerWalkTest, EveryStepIsCheckedAndEndsTheWalkWithItsText)
{
    const std::pair<const char*, const char*> steps[] = {{"Initialize", "Initialize() failed"},
                                                         {"Configure file", "Configure() failed"},
                                                         {"Framework_Connect file", "Framework_Connect() failed"},
                                                         {"START", "Request_State_Transition(START) failed"},
                                                         {"STOP", "Request_State_Transition(STOP) failed"},
                                                         {"Framework_Disconnect", "Framework_Disconnect() failed"},
                                                         {"Finalize", "Finalize() failed"}};
    for (const auto& [step, text] : steps) {
        s_script = {};
        s_script.answers[step] = {RETURN_CODE_TYPE::NOT_AVAILABLE};
        std::string what;
        try {
            walk();
        } catch (const std::runtime_error& error) {
            what = error.what();
        }
        EXPECT_TRUE(what.ends_with("]:NOT_AVAILABLE " + std::string(text))) << what;
        EXPECT_TRUE(what.starts_with("VICTORY/OrvaneServer/OrvaneServerMain.cpp[")) << what;
        EXPECT_TRUE(console.text().ends_with(what + "\n"));
        ASSERT_GE(s_script.calls.size(), 2u);
        EXPECT_EQ(s_script.calls[s_script.calls.size() - 2], step);  // no step behind it; then the unwinding
    }
}

TEST_F(OrvaneServerWalkTest, StepsInProgressAreTriedAgain)
{
    for (const char* step :
         {"Initialize", "Framework_Connect file", "START", "STOP", "Framework_Disconnect", "Finalize"})
        s_script.answers[step] = {RETURN_CODE_TYPE::IN_PROGRESS, RETURN_CODE_TYPE::IN_PROGRESS};
    EXPECT_EQ(walk(), 0);
    EXPECT_EQ(s_script.calls.size(), kWholeWalk.size() + 12);
}

TEST_F(OrvaneServerWalkTest, ConfigureIsCalledOnceAndInProgressIsAFailure)
{
    s_script.answers["Configure file"] = {RETURN_CODE_TYPE::IN_PROGRESS};
    EXPECT_THROW(walk(), std::runtime_error);
    EXPECT_EQ(s_script.calls, std::vector<std::string>({"construct", "Initialize", "Configure file", "destroy"}));
}

TEST_F(OrvaneServerWalkTest, ExitLineIsPrintedBeforeTheServerIsDestroyed)
{
    walk();
    EXPECT_EQ(s_script.consoleAtEnd, "!!!!!! service has exited. Signal: 15\n");
    EXPECT_EQ(console.text(), s_script.consoleAtEnd);
}

TEST_F(OrvaneServerWalkTest, TheFlagIsLookedAtOnlyAfterTheWholePause)
{
    exitFlag = 0;
    exitPollMs = 1500;
    const auto isInstalled = [] {
        struct sigaction now = {};
        return sigaction(SIGINT, nullptr, &now) == 0 && now.sa_handler == SignalHandler;
    };
    auto notYet = std::chrono::steady_clock::now();
    std::atomic<pid_t> walker = 0;
    std::thread process([&] {
        walker = gettid();
        walk();
    });
    for (auto asked = notYet; !isInstalled(); asked = std::chrono::steady_clock::now()) notYet = asked;
    int looks = 0;  // in a row, at the walk asleep: in its pause
    EXPECT_TRUE(eventually([&] { return (looks = isAsleep(walker) ? looks + 1 : 0) == 5; }));
    pthread_kill(process.native_handle(), SIGTERM);
    EXPECT_TRUE(eventually([] { return exitFlag != 0; }));
    process.join();
    EXPECT_GE(std::chrono::steady_clock::now() - notYet, 1500ms);
}

TEST_F(OrvaneServerWalkTest, TheServiceManagerIsToldBeforeTheFirstStepAndBeforeTheEnd)
{
    const std::string address = "@orvane-walk-" + std::to_string(getpid());
    const NotifySocket manager(address);
    setenv("NOTIFY_SOCKET", address.c_str(), 1);
    std::string atStart, atStop;
    s_script.onStart = [&] { atStart = manager.next(); };
    s_script.onStop = [&] { atStop = manager.next(); };
    walk();
    unsetenv("NOTIFY_SOCKET");
    EXPECT_EQ(atStart, "STATUS=Starting");
    EXPECT_EQ(atStop, "STOPPING=1\nSTATUS=Stopping");  // the signal came first: it was never ready
}

TEST_F(OrvaneServerWalkTest, OfSeveralSignalsTheLastIsNamed)
{
    // After the flag was seen, before the line; each is handled before `raise` returns.
    s_script.onStop = [] {
        for (const int signal : {SIGTERM, SIGTERM, SIGINT, SIGQUIT}) raise(signal);
    };
    EXPECT_EQ(walk(), 0);
    EXPECT_EQ(console.text(), "!!!!!! service has exited. Signal: 3\n");
}
