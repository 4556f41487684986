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

    const std::string address = "@orvane-life-" + std::to_string(getpid());
    std::optional<NotifySocket> socket;
    const ServiceManager manager{address.c_str()};
    LifeSigns life{manager, &PretendedClock::now, &dateOf};
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
    LifeSigns silent(none, &PretendedClock::now, &dateOf);
    const int before = PretendedClock::s_looks;
    silent.turn(1);
    EXPECT_EQ(PretendedClock::s_looks, before);
}
