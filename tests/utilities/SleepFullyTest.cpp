#include "utilities/SleepFully.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(SleepFullyTest, SleepsAtLeastAsLongAsTold)
{
    const auto start = Clock::now();
    sleepFully(30ms);
    EXPECT_GE(Clock::now() - start, 30ms);
}

TEST(SleepFullyTest, WholeSecondsAndMillisecondsAddUp)
{
    const auto start = Clock::now();
    sleepFully(1010ms);
    EXPECT_GE(Clock::now() - start, 1010ms);
}

TEST(SleepFullyTest, ZeroAndNegativeDurationsDoNotSleep)
{
    const auto start = Clock::now();
    sleepFully(0ms);
    sleepFully(-1h);
    sleepFully(std::chrono::milliseconds::min());
    EXPECT_LT(Clock::now() - start, 1h);
}

TEST(SleepFullyTest, ASleepThatSignalsInterruptIsResumed)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t sleeper = pthread_self();
    std::thread interrupter([sleeper] {
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(3ms);
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    const auto start = Clock::now();
    sleepFully(150ms);
    EXPECT_GE(Clock::now() - start, 150ms);
    interrupter.join();
}
