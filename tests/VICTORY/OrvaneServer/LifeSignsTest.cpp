#include "VICTORY/OrvaneServer/LifeSigns.h"

#include "tests/support/NotifySocket.h"
#include "tests/support/PretendedClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

std::time_t s_date = 0;

std::time_t dateOf(std::time_t*)
{
    return s_date;
}

struct LifeSignsTest : testing::Test {
    LifeSignsTest()
    {
        PretendedClock::setElapsed(0s);
        s_date = 1795365605;
        socket.emplace(address);
    }

    /// Signs of life that are told to be ready already.
    LifeSigns watched(std::chrono::seconds watchdog)
    {
        for (ThreadPulse* const thread : {&worker, &reader, &publisher}) thread->turn();
        LifeSigns signs(manager, {&worker, &reader, &publisher}, watchdog, &PretendedClock::now, &dateOf);
        signs.turn(0);
        EXPECT_EQ(socket->next(), "READY=1\nSTATUS=Running, no join yet");
        return signs;
    }

    /// What is told at a turn at that time.
    std::string toldAt(std::chrono::milliseconds time, LifeSigns& signs)
    {
        PretendedClock::setElapsed(time);
        signs.turn(0);
        return socket->next();
    }

    const std::string address = "@orvane-life-" + std::to_string(getpid());
    std::optional<NotifySocket> socket;
    const ServiceManager manager{address.c_str()};
    ThreadPulse worker, reader, publisher;
    LifeSigns life{manager, {}, 0s, &PretendedClock::now, &dateOf};
};

}  // namespace

TEST_F(LifeSignsTest, ReadyIsToldOnceAndTheStateWithIt)
{
    life.turn(0);
    EXPECT_EQ(socket->next(), "READY=1\nSTATUS=Running, no join yet");
    PretendedClock::setElapsed(1h);
    life.turn(0);
    EXPECT_EQ(socket->next(), "");
}

TEST_F(LifeSignsTest, JoinsAreToldWithTheTimeOfTheLast)
{
    life.turn(0);
    socket->next();
    PretendedClock::setElapsed(1s);
    life.turn(20);
    EXPECT_EQ(socket->next(), "STATUS=Running, joins: 20, the last at 2026-11-22 16:40:05 UTC");
    PretendedClock::setElapsed(1h);
    s_date += 3600;
    life.turn(20);
    EXPECT_EQ(socket->next(), "");
    life.turn(4294967295);
    EXPECT_EQ(socket->next(), "STATUS=Running, joins: 4294967295, the last at 2026-11-22 17:40:05 UTC");
}

TEST_F(LifeSignsTest, TheStateIsToldOnceASecondAtTheMost)
{
    life.turn(0);
    socket->next();
    PretendedClock::setElapsed(999ms);
    life.turn(1);
    EXPECT_EQ(socket->next(), "");
    PretendedClock::setElapsed(1s);
    s_date += 1;
    life.turn(1);
    EXPECT_EQ(socket->next(), "STATUS=Running, joins: 1, the last at 2026-11-22 16:40:05 UTC");
}

TEST_F(LifeSignsTest, WhatDidNotGoOutIsToldAtTheNextTurn)
{
    socket.reset();
    life.turn(0);
    socket.emplace(address);
    life.turn(0);
    EXPECT_EQ(socket->next(), "READY=1\nSTATUS=Running, no join yet");

    socket.reset();
    PretendedClock::setElapsed(1s);
    life.turn(1);
    socket.emplace(address);
    life.turn(1);
    EXPECT_EQ(socket->next(), "STATUS=Running, joins: 1, the last at 2026-11-22 16:40:05 UTC");
}

TEST_F(LifeSignsTest, AManagerThatWantsNothingCostsNoLookAtTheClock)
{
    const ServiceManager none(nullptr);
    LifeSigns silent(none, {}, 40s, &PretendedClock::now, &dateOf);
    const int before = PretendedClock::s_looks;
    silent.turn(1);
    EXPECT_EQ(PretendedClock::s_looks, before);
}

TEST_F(LifeSignsTest, ASignOfLifeIsToldAtEachHalfOfTheWatchdogsPeriod)
{
    LifeSigns signs = watched(40s);
    for (const auto start : {0s, 20s, 40s}) {
        for (ThreadPulse* const thread : {&worker, &reader, &publisher}) thread->turn();
        EXPECT_EQ(toldAt(start + 19'999ms, signs), "");
        EXPECT_EQ(toldAt(start + 20s, signs), "WATCHDOG=1");
    }
}

TEST_F(LifeSignsTest, WithoutAWatchdogThereIsNoSignOfLife)
{
    LifeSigns signs = watched(0s);
    for (ThreadPulse* const thread : {&worker, &reader, &publisher}) thread->turn();
    EXPECT_EQ(toldAt(24h, signs), "");
}

TEST_F(LifeSignsTest, AThreadThatDoesNotTurnHoldsTheSignBackUntilItDoes)
{
    LifeSigns signs = watched(40s);
    std::chrono::seconds time = 20s;
    for (ThreadPulse* const hanging : {&worker, &reader, &publisher}) {
        for (ThreadPulse* const thread : {&worker, &reader, &publisher})
            if (thread != hanging) thread->turn();
        EXPECT_EQ(toldAt(time, signs), "");
        EXPECT_EQ(toldAt(time + 30s, signs), "");
        hanging->turn();
        EXPECT_EQ(toldAt(time + 31s, signs), "WATCHDOG=1");
        time += 51s;
    }
}

TEST_F(LifeSignsTest, AThreadThatRestsIsNotWaitedFor)
{
    LifeSigns signs = watched(40s);
    reader.rest();
    for (const auto time : {20s, 40s}) {
        EXPECT_EQ(toldAt(time, signs), "");  // the others are
        worker.turn();
        publisher.turn();
        EXPECT_EQ(toldAt(time, signs), "WATCHDOG=1");
    }
}

TEST_F(LifeSignsTest, ASignThatDidNotGoOutIsToldAtTheNextTurn)
{
    LifeSigns signs = watched(40s);
    for (ThreadPulse* const thread : {&worker, &reader, &publisher}) thread->turn();
    socket.reset();
    PretendedClock::setElapsed(20s);
    signs.turn(0);
    socket.emplace(address);
    EXPECT_EQ(toldAt(21s, signs), "WATCHDOG=1");
    EXPECT_EQ(toldAt(40s, signs), "");
}
