#include "VICTORY/OrvaneServer/OrvaneServerMain.h"

#include "VICTORY/OrvaneServer/LifeSigns.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "utilities/ConsoleLine.h"
#include "utilities/ConsoleOutput.h"
#include "utilities/ServiceManager.h"
#include "utilities/SleepFully.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <poll.h>
#include <string_view>
#include <unistd.h>

using FACE::RETURN_CODE_TYPE;
using FACE::LCM::Halvex::RequestedState;

std::atomic<unsigned char> exitFlag = 0;
std::atomic<int> exitSignal = 0;
int transactionPollMs = 200;
int exitPollMs = 500;

static_assert(std::atomic<unsigned char>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler writes them");

namespace {

/// Only what a signal handler may: one write, and none where it would wait.
void tellFault()
{
    constexpr std::string_view kText = "!!!!!! OrvaneServer: ended by a fault of its own\n";
    pollfd console{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&console, 1, 0) != 1) return;
    [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, kText.data(), kText.size());
}

void faultHandler(int signal, siginfo_t* info, void*)
{
    const bool isRaisedByInstruction = info->si_code > 0;
    if (!isRaisedByInstruction) {
        SignalHandler(signal);
        return;
    }
    tellFault();
    std::signal(signal, SIG_DFL);
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes it by value.
void callOnceTransactionally(std::function<void(RETURN_CODE_TYPE::Value&)> call, RETURN_CODE_TYPE::Value& rc)
{
    rc = RETURN_CODE_TYPE::IN_PROGRESS;
    for (;;) {
        call(rc);
        if (rc != RETURN_CODE_TYPE::IN_PROGRESS) return;
        sleepFully(std::chrono::milliseconds(transactionPollMs));
    }
}

void SetupSignalHandler()
{
    struct sigaction action = {};
    action.sa_handler = SignalHandler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    for (const int signal : {SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM, SIGTRAP, SIGSYS, SIGFPE, SIGINT})
        sigaction(signal, &action, nullptr);
}

void SignalHandler(int signal)
{
    exitSignal = signal;
    exitFlag = 1;
}

void LetFaultsEndTheProcess()
{
    struct sigaction action = {};
    action.sa_sigaction = faultHandler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_SIGINFO;
    for (const int signal : {SIGILL, SIGBUS, SIGFPE}) sigaction(signal, &action, nullptr);
}

void SetupConsole()
{
    openClosedStandardDescriptors();
    // A reader of the console that is gone, and a file that may not grow, are errors of the write.
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
    ConsoleOutput::install();
}

int main(int argc, char* argv[])
{
    SetupConsole();
    if (argc != 2) {
        printLine(std::cout, "Usage: ", argc > 0 ? argv[0] : "", " <top-level-config-file> ");
        return 1;
    }

    const ServiceManager manager(std::getenv("NOTIFY_SOCKET"));
    const auto watchdog =
        ServiceManager::watchdogPeriod(std::getenv("WATCHDOG_USEC"), std::getenv("WATCHDOG_PID"), ::getpid());
    manager.tell(LifeSigns::kStarting);
    const FACE::String file(argv[1]);
    OrvaneServer server;
    LifeSigns life(manager, server.threads(), watchdog);
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
    const auto check = [&rc](int line, const char* text) {
        FACE::Return_Code_Value_No_Error_No_Action(__FILE__, line, text, rc);
    };

    callOnceTransactionally([&](auto& code) { server.Initialize(code); }, rc);
    check(__LINE__, "Initialize() failed");
    server.Configure(file, rc);
    check(__LINE__, "Configure() failed");
    callOnceTransactionally([&](auto& code) { server.Framework_Connect(file, code); }, rc);
    check(__LINE__, "Framework_Connect() failed");
    callOnceTransactionally([&](auto& code) { server.Request_State_Transition(RequestedState::START, code); }, rc);
    check(__LINE__, "Request_State_Transition(START) failed");

    SetupSignalHandler();  // until here, a signal takes its default action
    LetFaultsEndTheProcess();
    while (!exitFlag) {
        life.turn(server.joins());
        sleepFully(std::chrono::milliseconds(exitPollMs));
    }
    manager.tell(LifeSigns::kStopping);

    callOnceTransactionally([&](auto& code) { server.Request_State_Transition(RequestedState::STOP, code); }, rc);
    check(__LINE__, "Request_State_Transition(STOP) failed");
    callOnceTransactionally([&](auto& code) { server.Framework_Disconnect(code); }, rc);
    check(__LINE__, "Framework_Disconnect() failed");
    callOnceTransactionally([&](auto& code) { server.Finalize(code); }, rc);
    check(__LINE__, "Finalize() failed");
    printLine(std::cout, "!!!!!! ", argv[0], " has exited. Signal: ", exitSignal.load());
    return 0;
}
