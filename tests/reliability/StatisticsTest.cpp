#include "reliability/Statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <sstream>
#include <vector>

namespace {

std::vector<double> upTo(int count)
{
    std::vector<double> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), 1.0);
    return values;
}

}  // namespace

TEST(StatisticsTest, PercentileIsTheSmallestThatSoManyDoNotExceed)
{
    const auto values = upTo(1000);
    EXPECT_EQ(Statistics::percentile(values, 50.0), 500.0);
    EXPECT_EQ(Statistics::percentile(values, 99.0), 990.0);
    EXPECT_EQ(Statistics::percentile(values, 99.9), 999.0);
    EXPECT_EQ(Statistics::percentile(values, 100.0), 1000.0);
    EXPECT_EQ(Statistics::percentile(values, 0.0), 1.0);
}

TEST(StatisticsTest, PercentileOfFewIsRatherTheHigherOne)
{
    EXPECT_EQ(Statistics::percentile(std::vector<double>{1.0, 2.0, 3.0}, 50.0), 2.0);
    EXPECT_EQ(Statistics::percentile(std::vector<double>{1.0, 2.0, 3.0}, 99.9), 3.0);
    EXPECT_EQ(Statistics::percentile(std::vector<double>{7.0}, 50.0), 7.0);
}

TEST(StatisticsTest, NothingHasNoPercentile)
{
    EXPECT_TRUE(std::isnan(Statistics::percentile({}, 50.0)));
    EXPECT_TRUE(std::isnan(Statistics::spreadOf({}).max));
}

TEST(StatisticsTest, SpreadDoesNotDependOnTheOrder)
{
    const auto spread = Statistics::spreadOf({5.0, 1.0, 4.0, 2.0, 3.0});
    EXPECT_EQ(spread.p50, 3.0);
    EXPECT_EQ(spread.max, 5.0);
}

TEST(StatisticsTest, GoalIsThatOfTheLongTail)
{
    std::ostringstream said;
    Report report("load", said);
    Statistics::tell(report, "hold", upTo(2000), "ms", Goal{Goal::AtMost, 1998});
    EXPECT_EQ(said.str(), "load: hold, 2000 times: p50 1000, p99 1980, longest 2000 ms\n"
                          "load: hold, p99.9: 1998 ms (at most 1998: kept)\n");
}

TEST(StatisticsTest, WarmingUpIsNoGrowth)
{
    EXPECT_EQ(Statistics::growth(std::vector<double>{10, 50, 90, 90, 90, 90, 90, 90}), 0.0);
}

TEST(StatisticsTest, OneOutlierIsNoGrowth)
{
    EXPECT_EQ(Statistics::growth(std::vector<double>{5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 999, 5}), 0.0);
}

TEST(StatisticsTest, WhatClimbsHasGrownByHalfOfItAll)
{
    EXPECT_EQ(Statistics::growth(upTo(400)), 200.0);
}

TEST(StatisticsTest, TooFewSamplesTellNothing)
{
    EXPECT_TRUE(std::isnan(Statistics::growth(upTo(3))));
}
