#include "lab/unit/SystemClock.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace unitsim;
using namespace std::chrono_literals;

TEST(SystemClockTest, SecondHasItsTicks)
{
    EXPECT_EQ(SystemClock::ticksIn(1s), 58982400);
    EXPECT_EQ(SystemClock::ticksIn(250ms), 14745600);
    EXPECT_EQ(SystemClock::ticksIn(-1s), -58982400);
    EXPECT_EQ(SystemClock::ticksIn(17ns), 1);
    EXPECT_EQ(SystemClock::ticksIn(16ns), 0);
}

TEST(SystemClockTest, YearsDoNotOverflow)
{
    EXPECT_EQ(SystemClock::ticksIn(std::chrono::hours(24 * 365 * 10)), 58982400LL * 3600 * 24 * 365 * 10);
}

TEST(SystemClockTest, CountStartsWithTheFirstTicksAndNeverGoesBelowZero)
{
    const SystemClock::Clock::time_point start{1000s};
    const SystemClock clock(100, start);
    EXPECT_EQ(clock.ticksAt(start), 100U);
    EXPECT_EQ(clock.ticksAt(start + 2s), 117964900U);
    EXPECT_EQ(clock.ticksAt(start - 1s), 0U);
}
