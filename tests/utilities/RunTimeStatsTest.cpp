#include "utilities/RunTimeStats.h"

#include <gtest/gtest.h>

#include <chrono>

using Clock = std::chrono::steady_clock;

namespace {

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void spinFor(double seconds)
{
    for (const Clock::time_point start = Clock::now(); secondsSince(start) < seconds;) {
    }
}

}  // namespace

TEST(RunTimeStatsTest, FinishObservesTheTimeSinceStart)
{
    RunTimeStats stats(false, false);
    spinFor(0.02);
    const Clock::time_point outer = Clock::now();
    stats.start();
    const Clock::time_point inner = Clock::now();
    spinFor(0.01);
    const double atLeast = secondsSince(inner);
    stats.finish();
    const double atMost = secondsSince(outer);
    unsigned count = 0;
    double minimum = 0, maximum = 0, average = 0, rms = 0, deviation = 0;
    stats.GetStatistics(count, minimum, maximum, average, rms, deviation);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(minimum, maximum);
    EXPECT_GE(average, atLeast - 1e-6);
    EXPECT_LE(average, atMost + 1e-6);
}

TEST(RunTimeStatsTest, EachRunIsOneValue)
{
    RunTimeStats stats(true, true);
    for (int i = 0; i < 3; ++i) {
        stats.start();
        stats.finish();
    }
    unsigned count = 0;
    double minimum = -1, maximum = -1, average = -1, rms = -1, deviation = -1;
    stats.GetStatistics(count, minimum, maximum, average, rms, deviation);
    EXPECT_EQ(count, 3u);
    EXPECT_GE(minimum, 0.0);
    EXPECT_GE(rms, 0.0);
    EXPECT_GE(deviation, 0.0);
}
