#include "utilities/Saturate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

static_assert(saturate<int>(1e10) == 2147483647, "also at compile time");

}  // namespace

TEST(SaturateTest, InRangeIsCutTowardZero)
{
    EXPECT_EQ(saturate<std::int32_t>(2.9), 2);
    EXPECT_EQ(saturate<std::int32_t>(-2.9), -2);
    EXPECT_EQ(saturate<std::uint32_t>(-0.9), 0u);
    EXPECT_EQ(saturate<std::uint8_t>(255.9), 255);
    EXPECT_EQ(saturate<std::int8_t>(-128.9), -128);
}

TEST(SaturateTest, NaNIsZero)
{
    EXPECT_EQ(saturate<std::int32_t>(kNaN), 0);
    EXPECT_EQ(saturate<std::int32_t>(-kNaN), 0);
    EXPECT_EQ(saturate<std::uint64_t>(kNaN), 0u);
}

TEST(SaturateTest, EightToThirtyTwoBitsClampAtTheirLimits)
{
    EXPECT_EQ(saturate<std::uint8_t>(256.0), 255);
    EXPECT_EQ(saturate<std::uint16_t>(65536.0), 65535);
    EXPECT_EQ(saturate<std::int16_t>(-32769.0), -32768);
    EXPECT_EQ(saturate<std::int32_t>(2147483647.0), 2147483647);
    EXPECT_EQ(saturate<std::int32_t>(2147483648.0), 2147483647);
    EXPECT_EQ(saturate<std::int32_t>(-2147483648.0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturate<std::int32_t>(-2147483649.0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturate<std::uint32_t>(4294967295.0), 4294967295u);
    EXPECT_EQ(saturate<std::uint32_t>(4294967296.0), 4294967295u);
    EXPECT_EQ(saturate<std::uint32_t>(-1.0), 0u);
}

TEST(SaturateTest, SixtyFourBitsClampWhereADoubleCannotHoldTheLimit)
{
    EXPECT_EQ(saturate<std::int64_t>(9223372036854774784.0), 9223372036854774784);
    EXPECT_EQ(saturate<std::int64_t>(9223372036854775808.0), 9223372036854775807);
    EXPECT_EQ(saturate<std::int64_t>(-9223372036854775808.0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(saturate<std::uint64_t>(18446744073709549568.0), 18446744073709549568u);
    EXPECT_EQ(saturate<std::uint64_t>(18446744073709551616.0), 18446744073709551615u);
}

TEST(SaturateTest, InfinityIsTheLimit)
{
    EXPECT_EQ(saturate<std::int32_t>(kInfinity), 2147483647);
    EXPECT_EQ(saturate<std::int32_t>(-kInfinity), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturate<std::uint64_t>(kInfinity), 18446744073709551615u);
    EXPECT_EQ(saturate<std::uint64_t>(-kInfinity), 0u);
}
