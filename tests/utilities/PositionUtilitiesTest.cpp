#include "utilities/PositionUtilities.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using PositionUtilities::PosVar2Efom;
using PositionUtilities::PosVar2Fom;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Row {
    double limit;  // m^2
    int upTo, above;
};

}  // namespace

TEST(PositionUtilitiesTest, EachFomThresholdBelongsToTheBetterClass)
{
    constexpr Row kRows[] = {{625.0, 1, 2},   {2500.0, 2, 3},   {5625.0, 3, 4},    {10000.0, 4, 5},
                             {40000.0, 5, 6}, {250000.0, 6, 7}, {1000000.0, 7, 8}, {25000000.0, 8, 9}};
    for (const Row& row : kRows) {
        EXPECT_EQ(PosVar2Fom(std::nextafter(row.limit, 0.0)), row.upTo) << row.limit;
        EXPECT_EQ(PosVar2Fom(row.limit), row.upTo) << row.limit;
        EXPECT_EQ(PosVar2Fom(std::nextafter(row.limit, kInfinity)), row.above) << row.limit;
    }
    EXPECT_EQ(PosVar2Fom(625.1), 2);
}

TEST(PositionUtilitiesTest, EachEfomThresholdBelongsToTheBetterClass)
{
    constexpr Row kRows[] = {{1.0, 1, 2}, {9.0, 2, 3}, {25.0, 3, 4}, {100.0, 4, 5}};
    for (const Row& row : kRows) {
        EXPECT_EQ(PosVar2Efom(std::nextafter(row.limit, 0.0)), row.upTo) << row.limit;
        EXPECT_EQ(PosVar2Efom(row.limit), row.upTo) << row.limit;
        EXPECT_EQ(PosVar2Efom(std::nextafter(row.limit, kInfinity)), row.above) << row.limit;
    }
}

TEST(PositionUtilitiesTest, VarianceThatIsNotFiniteIsTheWorst)
{
    for (const double variance : {kNaN, -kNaN, kInfinity, -kInfinity}) {
        EXPECT_EQ(PosVar2Fom(variance), 9) << variance;
        EXPECT_EQ(PosVar2Efom(variance), 5) << variance;
    }
}

TEST(PositionUtilitiesTest, NegativeOrNoVarianceIsTheBest)
{
    for (const double variance : {0.0, -0.0, -1.0, -1e300}) {
        EXPECT_EQ(PosVar2Fom(variance), 1) << variance;
        EXPECT_EQ(PosVar2Efom(variance), 1) << variance;
    }
}

TEST(PositionUtilitiesTest, GreatestFiniteVarianceIsTheWorst)
{
    EXPECT_EQ(PosVar2Fom(std::numeric_limits<double>::max()), 9);
    EXPECT_EQ(PosVar2Efom(std::numeric_limits<double>::max()), 5);
}
