#include "utilities/StopFlag.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <pthread.h>
#include <sys/types.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(StopFlagTest, APauseIsAtLeastAsLongAsTold)
{
    StopFlag stop;
    const auto start = Clock::now();
    stop.pauseFor(30ms);
    EXPECT_GE(Clock::now() - start, 30ms);
}

TEST(StopFlagTest, APauseIsNotShortenedBySignals)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    StopFlag stop;
    std::thread interrupter([sleeper = pthread_self()] {
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(3ms);
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    const auto start = Clock::now();
    stop.pauseFor(150ms);
    EXPECT_GE(Clock::now() - start, 150ms);
    interrupter.join();
}

TEST(StopFlagTest, TheStopEndsAPause)
{
    StopFlag stop;
    const auto start = Clock::now();
    std::thread sleeper([&] { stop.pauseFor(1h); });
    stop.set();
    sleeper.join();
    EXPECT_LT(Clock::now() - start, 1h);
}

TEST(StopFlagTest, TheStopEndsAPauseThatHasBegun)
{
    StopFlag stop;
    std::atomic<pid_t> thread = 0;
    const auto start = Clock::now();
    std::thread sleeper([&] {
        thread = gettid();
        stop.pauseFor(1h);
    });
    int looks = 0;  // in a row that found it asleep
    EXPECT_TRUE(eventually([&] {
        looks = thread != 0 && isAsleep(thread) ? looks + 1 : 0;
        return looks == 5;
    }));
    stop.set();
    sleeper.join();
    EXPECT_LT(Clock::now() - start, 1h);
}

TEST(StopFlagTest, ThereIsNoPauseBehindTheStopUntilItIsCleared)
{
    StopFlag stop;
    stop.set();
    stop.pauseFor(1h);
    EXPECT_TRUE(stop.isSet());
    stop.clear();
    EXPECT_FALSE(stop.isSet());
    const auto start = Clock::now();
    stop.pauseFor(20ms);
    EXPECT_GE(Clock::now() - start, 20ms);
}
