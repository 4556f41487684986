#include "utilities/NormalizeRange.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kGreatest = std::numeric_limits<double>::max();

struct Range {
    double minimum, maximum, width;
};
constexpr Range kRanges[] = {{0.0, 360.0, 360.0},       {-180.0, 180.0, 360.0},
                             {0.0, 86400.0, 86400.0},   {0.0, 604800.0, 604800.0},
                             {-kPi, kPi, kTwoPi},       {0.0, 6.2831853071796, 6.2831853071796},
                             {10.1, 10.3, 10.3 - 10.1}, {-7.0, -4.7, -4.7 + 7.0}};

/// The definition: as many turns as it takes.
double byLoops(double value, const Range& range)
{
    while (value < range.minimum) value += range.width;
    while (value > range.maximum) value -= range.width;
    return value;
}

double normalized(double value, const Range& range)
{
    return normalizeRange(value, range.minimum, range.maximum, range.width);
}

void expectSameBits(double value, const Range& range)
{
    const double expected = byLoops(value, range);
    const double actual = normalized(value, range);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(actual), std::bit_cast<std::uint64_t>(expected))
        << std::hexfloat << value << " in " << range.minimum << ".." << range.maximum << ": " << actual << ", not "
        << expected;
}

}  // namespace

TEST(NormalizeRangeTest, EqualsTheLoopsToTheLastBit)
{
    std::mt19937_64 random(20240607);
    for (const Range& range : kRanges) {
        std::uniform_real_distribution<double> widths(-4000.0, 4000.0);
        for (int i = 0; i < 3000; ++i) expectSameBits(range.minimum + widths(random) * range.width, range);
        std::uniform_real_distribution<double> near(-3.0, 3.0);
        for (int i = 0; i < 3000; ++i) expectSameBits(range.minimum + near(random) * range.width, range);
    }
}

TEST(NormalizeRangeTest, EqualsTheLoopsAroundEveryWholeWidth)
{
    for (const Range& range : kRanges)
        for (int turns = -2000; turns <= 2000; turns += 7)
            for (const double end : {range.minimum, range.maximum}) {
                const double value = end + turns * range.width;
                expectSameBits(value, range);
                expectSameBits(std::nextafter(value, kInfinity), range);
                expectSameBits(std::nextafter(value, -kInfinity), range);
            }
}

TEST(NormalizeRangeTest, WholeWidthsEqualTheLoopsFarOutsideToo)
{
    constexpr Range kWhole[] = {{0.0, 360.0, 360.0}, {-180.0, 180.0, 360.0}};
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> far(1.5e6, 3e7);
    for (const Range& range : kWhole) {
        for (int i = 0; i < 200; ++i) {
            const double value = far(random);
            expectSameBits(value, range);
            expectSameBits(-value, range);
        }
        // The range's half width above or below these, a double has one place fewer or more.
        for (const double power : {2097152.0, 4194304.0, 8388608.0, 16777216.0})
            for (const double distance : {-180.0, -123.4, -1.0, 0.0, 77.7, 180.0}) {
                const double value = power + distance;
                expectSameBits(value, range);
                expectSameBits(std::nextafter(value, 0.0), range);
                expectSameBits(std::nextafter(-value, 0.0), range);
            }
    }
}

TEST(NormalizeRangeTest, WholeWidthsFarOutsideEndAtTheEndTheyComeFrom)
{
    EXPECT_EQ(normalizeRange(604800.0 * 1e6, 0.0, 604800.0, 604800.0), 604800.0);
    EXPECT_EQ(normalizeRange(360.0 * 9007199254740992.0, 0.0, 360.0, 360.0), 360.0);
    const double fromBelow = normalizeRange(-604800.0 * 1e6, 0.0, 604800.0, 604800.0);
    EXPECT_EQ(fromBelow, 0.0);
    EXPECT_FALSE(std::signbit(fromBelow));
    EXPECT_EQ(normalizeRange(180.0 + 360.0 * 1e6, -180.0, 180.0, 360.0), 180.0);
    EXPECT_EQ(normalizeRange(-180.0 - 360.0 * 1e6, -180.0, 180.0, 360.0), -180.0);
}

TEST(NormalizeRangeTest, BothEndsStay)
{
    EXPECT_EQ(normalizeRange(1814400.0, 0.0, 604800.0, 604800.0), 604800.0);
    EXPECT_EQ(normalizeRange(604800.5, 0.0, 604800.0, 604800.0), 0.5);
    EXPECT_EQ(normalizeRange(-1.0, 0.0, 604800.0, 604800.0), 604799.0);
    EXPECT_EQ(normalizeRange(kPi, -kPi, kPi, kTwoPi), kPi);
    EXPECT_EQ(normalizeRange(-kPi, -kPi, kPi, kTwoPi), -kPi);
    EXPECT_EQ(normalizeRange(-1e-20, 0.0, 604800.0, 604800.0), 604800.0);
}

TEST(NormalizeRangeTest, SignOfZeroIsThatOfTheLoops)
{
    EXPECT_TRUE(std::signbit(normalizeRange(-0.0, 0.0, 360.0, 360.0)));
    EXPECT_FALSE(std::signbit(normalizeRange(0.0, 0.0, 360.0, 360.0)));
    EXPECT_FALSE(std::signbit(normalizeRange(-604800.0, 0.0, 604800.0, 604800.0)));
}

TEST(NormalizeRangeTest, HugeValuesEndAtOnceInsideTheRange)
{
    for (const Range& range : kRanges)
        for (const double value : {1e7, 1e12, 2.3e18, 1e38, 9.7e39, 1e300, kGreatest})
            for (const double signedValue : {value, -value}) {
                const double result = normalized(signedValue, range);
                EXPECT_GE(result, range.minimum) << signedValue;
                EXPECT_LE(result, range.maximum) << signedValue;
            }
}

TEST(NormalizeRangeTest, HugeValueKeepsItsPhase)
{
    EXPECT_EQ(normalizeRange(36000000000.0 + 12.5, 0.0, 360.0, 360.0), 12.5);
    EXPECT_EQ(normalizeRange(-36000000000.0 - 12.5, 0.0, 360.0, 360.0), 347.5);
    EXPECT_EQ(normalizeRange(36000000000.0 + 190.0, -180.0, 180.0, 360.0), -170.0);
    EXPECT_EQ(normalizeRange(1e15, 0.0, 360.0, 360.0), 280.0);
}

TEST(NormalizeRangeTest, StepTooSmallToMoveTheValueEndsInsideTheRange)
{
    constexpr double kPower = 147573952589676412928.0;  // 2^67: a place is 16384 below, 32768 above
    const double minimum = kPower - 16384.0;
    EXPECT_EQ(normalizeRange(kPower + 131072.0, minimum, kPower, 16384.0), kPower);
    EXPECT_EQ(normalizeRange(-kPower - 131072.0, -kPower, -minimum, 16384.0), -kPower);
}

TEST(NormalizeRangeTest, RangesOfAnySizeEnd)
{
    constexpr double kValues[] = {-kGreatest, -1e300, -5e-324, 0.0, 5e-324, 1.0, 1e300, kGreatest};
    for (const double minimum : kValues)
        for (const double maximum : kValues)
            for (const double value : kValues) {
                const double width = maximum - minimum;
                const double result = normalizeRange(value, minimum, maximum, width);
                if (minimum < maximum && std::isfinite(width)) {
                    EXPECT_GE(result, minimum) << value << " in " << minimum << ".." << maximum;
                    EXPECT_LE(result, maximum) << value << " in " << minimum << ".." << maximum;
                } else {
                    EXPECT_EQ(result, value) << minimum << ".." << maximum;
                }
            }
}

TEST(NormalizeRangeTest, InfinityGivesNaNAndNaNStays)
{
    for (const Range& range : kRanges)
        for (const double value : {kInfinity, -kInfinity, kNaN}) EXPECT_TRUE(std::isnan(normalized(value, range)));
    EXPECT_TRUE(std::isnan(normalizeRange(kInfinity, -1e307, 1e307, 2e307)));
    EXPECT_TRUE(std::isnan(normalizeRange(-kInfinity, -1e307, 1e307, 2e307)));
}

TEST(NormalizeRangeTest, UnusableWidthLeavesTheValueAlone)
{
    for (const double width : {0.0, -360.0, kInfinity, -kInfinity, kNaN})
        for (const double value : {-10.0, 0.0, 1e30, kInfinity})
            EXPECT_EQ(normalizeRange(value, 0.0, 360.0, width), value) << width;
}

TEST(NormalizeRangeTest, EndsThatAreNotFiniteDoNotHang)
{
    for (const double minimum : {-kInfinity, kInfinity, kNaN})
        for (const double maximum : {-kInfinity, kInfinity, kNaN}) {
            const double result = normalizeRange(5.0, minimum, maximum, 360.0);
            EXPECT_TRUE(std::isnan(result) || result == 5.0 || std::isinf(result)) << minimum << ".." << maximum;
        }
}
