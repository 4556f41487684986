#include "utilities/RSS.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(RSSTest, SquareSumAddsOneSquare)
{
    EXPECT_EQ(RSS::SquareSum(1.5, 3.0), 10.5);
    EXPECT_EQ(RSS::SquareSum(-1.0, -2.0), 3.0);
}

TEST(RSSTest, RootOfLessThanEpsilonIsZero)
{
    EXPECT_EQ(RSS::RootIt(-1.0), 0.0);
    EXPECT_EQ(RSS::RootIt(0.0), 0.0);
    EXPECT_EQ(RSS::RootIt(2.2204460492503128e-16), 0.0);
    EXPECT_EQ(RSS::RootIt(-std::numeric_limits<double>::infinity()), 0.0);
}

TEST(RSSTest, RootOfEpsilonAndAboveIsTaken)
{
    EXPECT_EQ(RSS::RootIt(2.220446049250313e-16), 1.4901161193847656e-8);
    EXPECT_EQ(RSS::RootIt(6.25), 2.5);
    EXPECT_TRUE(std::isnan(RSS::RootIt(std::numeric_limits<double>::quiet_NaN())));
}

TEST(RSSTest, TwoToSixValues)
{
    EXPECT_EQ(RSS::Rss(3.0, -4.0), 5.0);
    EXPECT_EQ(RSS::Rss(1.0, 2.0, 2.0), 3.0);
    EXPECT_EQ(RSS::Rss(1.0, 1.0, 3.0, 5.0), 6.0);
    EXPECT_EQ(RSS::Rss(1.0, 1.0, 3.0, 5.0, 8.0), 10.0);
    EXPECT_EQ(RSS::Rss(1.0, 1.0, 3.0, 5.0, 8.0, -10.0), std::sqrt(200.0));
    EXPECT_EQ(RSS::Rss(1e-9, 1e-9), 0.0);
}
