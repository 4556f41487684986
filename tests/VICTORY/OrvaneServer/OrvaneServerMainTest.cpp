#include "VICTORY/OrvaneServer/OrvaneServerMain.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using namespace std::chrono_literals;

namespace {

void ignoreSignal(int) {}

std::vector<int> s_installed;  // the signals given to sigaction, in their order

struct OrvaneServerMainTest : testing::Test {
    ~OrvaneServerMainTest() override
    {
        exitFlag = 0;
        exitSignal = 0;
        transactionPollMs = 200;
        exitPollMs = 500;
    }

    /// Milliseconds of a call that answers the codes in turn; `calls` counts them.
    std::chrono::steady_clock::duration timeOf(const std::vector<RETURN_CODE_TYPE::Value>& answers)
    {
        const auto start = std::chrono::steady_clock::now();
        callOnceTransactionally(
            [&](RETURN_CODE_TYPE::Value& code) {
                seen.push_back(code);
                code = answers.at(calls++);
            },
            rc);
        return std::chrono::steady_clock::now() - start;
    }

    std::size_t calls = 0;
    std::vector<RETURN_CODE_TYPE::Value> seen;
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
};

constexpr auto kInProgress = RETURN_CODE_TYPE::IN_PROGRESS;

}  // namespace

extern "C" {
int __real_sigaction(int signal, const struct sigaction* action, struct sigaction* old);
int __wrap_sigaction(int signal, const struct sigaction* action, struct sigaction* old);

int __wrap_sigaction(int signal, const struct sigaction* action, struct sigaction* old)
{
    if (action) s_installed.push_back(signal);
    return __real_sigaction(signal, action, old);
}
}

TEST_F(OrvaneServerMainTest, GlobalsHaveTheirFirstValues)
{
    EXPECT_EQ(exitFlag, 0);
    EXPECT_EQ(exitSignal, 0);
    EXPECT_EQ(transactionPollMs, 200);
    EXPECT_EQ(exitPollMs, 500);
}

TEST_F(OrvaneServerMainTest, ACallInProgressThreeTimesIsMadeFourTimesWithThreePauses)
{
    const auto time = timeOf({kInProgress, kInProgress, kInProgress, RETURN_CODE_TYPE::NO_ERROR});
    EXPECT_EQ(calls, 4u);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_GE(time, 600ms);
}

TEST_F(OrvaneServerMainTest, ACallThatAnswersAtOnceIsMadeOnce)
{
    transactionPollMs = 3'600'000;  // a pause would not end
    timeOf({RETURN_CODE_TYPE::INVALID_CONFIG});
    EXPECT_EQ(calls, 1u);
    EXPECT_EQ(rc, RETURN_CODE_TYPE::INVALID_CONFIG);
}

TEST_F(OrvaneServerMainTest, TheCodeIsInProgressAtTheFirstCallAndWhatTheCallLeftAfterwards)
{
    transactionPollMs = 1;
    timeOf({kInProgress, RETURN_CODE_TYPE::NO_ACTION});
    EXPECT_EQ(seen, std::vector({kInProgress, kInProgress}));
}

TEST_F(OrvaneServerMainTest, ACallThatLeavesTheCodeAloneIsMadeAgain)
{
    transactionPollMs = 0;
    int untouched = 0;
    callOnceTransactionally(
        [&](RETURN_CODE_TYPE::Value& code) {
            if (++untouched == 3) code = RETURN_CODE_TYPE::NO_ERROR;
        },
        rc);
    EXPECT_EQ(untouched, 3);
}

TEST_F(OrvaneServerMainTest, AValueBelowOneMeansNoPause)
{
    std::vector<RETURN_CODE_TYPE::Value> answers(10'000, kInProgress);
    answers.push_back(RETURN_CODE_TYPE::NO_ERROR);
    transactionPollMs = 0;
    timeOf(answers);
    EXPECT_EQ(calls, 10'001u);
    transactionPollMs = -5;
    calls = 0;
    timeOf(answers);
    EXPECT_EQ(calls, 10'001u);
}

TEST_F(OrvaneServerMainTest, APauseThatASignalInterruptsIsResumed)
{
    struct sigaction action = {};
    action.sa_handler = ignoreSignal;
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t sleeper = pthread_self();
    std::thread interrupter([sleeper] {
        for (int i = 0; i < 10; ++i) {
            std::this_thread::sleep_for(10ms);
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    const auto time = timeOf({kInProgress, RETURN_CODE_TYPE::NO_ERROR});
    interrupter.join();
    EXPECT_GE(time, 200ms);
}

TEST_F(OrvaneServerMainTest, SignalHandlerRemembersTheLastSignal)
{
    SignalHandler(15);
    EXPECT_EQ(exitFlag, 1);
    EXPECT_EQ(exitSignal, 15);
    SignalHandler(2);
    EXPECT_EQ(exitFlag, 1);
    EXPECT_EQ(exitSignal, 2);
}

TEST_F(OrvaneServerMainTest, SignalsAreInstalledInTheirOrder)
{
    s_installed.clear();
    SetupSignalHandler();
    EXPECT_EQ(s_installed, std::vector({SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM, SIGTRAP, SIGSYS, SIGFPE, SIGINT}));
}

TEST_F(OrvaneServerMainTest, ExactlyNineSignalsAreHandledWithAnEmptyMaskAndNoFlags)
{
    std::array<struct sigaction, 65> before = {};
    for (int signal = 1; signal < 65; ++signal) sigaction(signal, nullptr, &before[static_cast<std::size_t>(signal)]);
    SetupSignalHandler();
    std::vector<int> handled;
    for (int signal = 1; signal < 65; ++signal) {
        struct sigaction now = {};
        if (sigaction(signal, nullptr, &now) != 0) continue;
        if (now.sa_handler != SignalHandler) {
            EXPECT_EQ(now.sa_handler, before[static_cast<std::size_t>(signal)].sa_handler) << signal;
            continue;
        }
        handled.push_back(signal);
        EXPECT_EQ(now.sa_flags & (SA_RESTART | SA_NODEFER | SA_SIGINFO | SA_ONSTACK | SA_NOCLDSTOP), 0) << signal;
        sigset_t empty;
        sigemptyset(&empty);
        for (int other = 1; other < 65; ++other) EXPECT_EQ(sigismember(&now.sa_mask, other), 0);
    }
    EXPECT_EQ(handled, std::vector({SIGINT, SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGTERM, SIGSYS}));
}

TEST_F(OrvaneServerMainTest, FaultsThatAreSentAskTheServiceToEnd)
{
    SetupSignalHandler();
    LetFaultsEndTheProcess();
    for (const int signal : {SIGILL, SIGBUS, SIGFPE}) {
        exitFlag = 0;
        kill(getpid(), signal);
        EXPECT_EQ(exitFlag, 1) << signal;
        EXPECT_EQ(exitSignal, signal);
    }
}

TEST_F(OrvaneServerMainTest, AFaultOfTheProcessItselfEndsIt)
{
    const auto touchBehindTheEnd = [] {
        SetupSignalHandler();
        LetFaultsEndTheProcess();
        alarm(30);  // ends it if nothing else does
        std::FILE* const file = std::tmpfile();
        const auto* const memory =
            static_cast<const volatile char*>(mmap(nullptr, 1, PROT_READ, MAP_SHARED, fileno(file), 0));
        static_cast<void>(memory[0]);
    };
    EXPECT_EXIT(touchBehindTheEnd(), testing::KilledBySignal(SIGBUS),
                "!!!!!! OrvaneServer: ended by a fault of its own\n");
}
