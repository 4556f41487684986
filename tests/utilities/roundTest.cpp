#include "utilities/round.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::tuple<std::int32_t, std::int64_t> split(double value)
{
    std::int32_t seconds = 77;
    std::int64_t nanoseconds = 77;
    ToSecondsNanoseconds(value, seconds, nanoseconds);
    return {seconds, nanoseconds};
}

}  // namespace

TEST(UroundTest, HalvesGoUp)
{
    EXPECT_EQ(uround(2.5), 3u);
    EXPECT_EQ(uround(0.5), 1u);
    EXPECT_EQ(uround(std::nextafter(0.5, 0.0)), 0u);
    EXPECT_EQ(uround(2.4), 2u);
}

TEST(UroundTest, NegativeIsZero)
{
    EXPECT_EQ(uround(-0.4), 0u);
    EXPECT_EQ(uround(-0.5), 0u);
    EXPECT_EQ(uround(-7.0), 0u);
    EXPECT_EQ(uround(-kInfinity), 0u);
}

TEST(UroundTest, GreatestFitsAndBeyondItIsTheLimit)
{
    EXPECT_EQ(uround(4294967295.0), 4294967295u);
    EXPECT_EQ(uround(4294967294.5), 4294967295u);
    EXPECT_EQ(uround(1e300), 4294967295u);
    EXPECT_EQ(uround(kInfinity), 4294967295u);
    EXPECT_EQ(uround(kNaN), 0u);
}

TEST(IroundTest, HalvesGoAwayFromZero)
{
    EXPECT_EQ(iround(-2.5), -3);
    EXPECT_EQ(iround(2.5), 3);
    EXPECT_EQ(iround(-0.5), -1);
    EXPECT_EQ(iround(-0.4), 0);
    EXPECT_EQ(iround(-7.0), -7);
    EXPECT_EQ(iround(7.0), 7);
}

TEST(IroundTest, OutOfRangeIsTheLimit)
{
    EXPECT_EQ(iround(2147483647.0), 2147483647);
    EXPECT_EQ(iround(-2147483648.0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(iround(1e300), 2147483647);
    EXPECT_EQ(iround(-kInfinity), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(iround(kNaN), 0);
}

TEST(IroundTest, EveryHalfIsRoundedOutward)
{
    for (int n = 0; n < 100000; ++n) {
        ASSERT_EQ(iround(n + 0.5), n + 1);
        ASSERT_EQ(iround(-n - 0.5), -n - 1);
        ASSERT_EQ(uround(n + 0.5), static_cast<std::uint32_t>(n) + 1);
    }
}

TEST(ToSecondsNanosecondsTest, BothPartsKeepTheSign)
{
    EXPECT_EQ(split(12.25), std::tuple(12, 250000000));
    EXPECT_EQ(split(-0.75), std::tuple(0, -750000000));
    EXPECT_EQ(split(-3.5), std::tuple(-3, -500000000));
}

TEST(ToSecondsNanosecondsTest, NanosecondsAreCutNotRounded)
{
    EXPECT_EQ(split(std::ldexp(1.0, -30)), std::tuple(0, 0)) << "0.93 ns";
    EXPECT_EQ(split(1.0 + std::ldexp(3.0, -30)), std::tuple(1, 2)) << "2.79 ns";
    EXPECT_EQ(split(std::nextafter(1.0, 0.0)), std::tuple(0, 999999999));
}

TEST(ToSecondsNanosecondsTest, WhatDoesNotFitIsTheLimit)
{
    EXPECT_EQ(split(3e9), std::tuple(2147483647, 0));
    EXPECT_EQ(split(-kInfinity), std::tuple(std::numeric_limits<std::int32_t>::min(), 0));
    EXPECT_EQ(split(kNaN), std::tuple(0, 0));
}
