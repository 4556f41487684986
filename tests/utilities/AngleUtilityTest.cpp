#include "utilities/AngleUtility.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

using AngleUtility::ConstrainRange;
using AngleUtility::NormalizeValue;
using AngleUtility::NorthAzToGDIAngle;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::string refusalOf(double minimum, double maximum)
{
    try {
        ConstrainRange(5.0, minimum, maximum);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "accepted";
}

}  // namespace

TEST(AngleUtilityTest, AzimuthIsCountedFromEast)
{
    EXPECT_EQ(NorthAzToGDIAngle(90.0), 0.0);
    EXPECT_EQ(NorthAzToGDIAngle(100.5), 10.5);
    EXPECT_EQ(NorthAzToGDIAngle(0.0), 270.0);
    EXPECT_EQ(NorthAzToGDIAngle(360.0), 270.0);
}

TEST(AngleUtilityTest, AzimuthGainsOneTurnAtMost)
{
    EXPECT_EQ(NorthAzToGDIAngle(-400.0), -130.0);
    EXPECT_EQ(NorthAzToGDIAngle(900.0), 810.0);
}

TEST(AngleUtilityTest, RangeFromZeroIsClosedAtBothEnds)
{
    EXPECT_EQ(NormalizeValue(360.0, 360.0), 360.0);
    EXPECT_EQ(NormalizeValue(0.0, 360.0), 0.0);
    EXPECT_EQ(NormalizeValue(720.0, 360.0), 360.0);
    EXPECT_EQ(NormalizeValue(-360.0, 360.0), 0.0);
    EXPECT_EQ(NormalizeValue(-10.0, 360.0), 350.0);
    EXPECT_EQ(NormalizeValue(370.0, 360.0), 10.0);
}

TEST(AngleUtilityTest, RangeFromAMinimumIsClosedAtBothEnds)
{
    EXPECT_EQ(NormalizeValue(190.0, -180.0, 180.0), -170.0);
    EXPECT_EQ(NormalizeValue(-190.0, -180.0, 180.0), 170.0);
    EXPECT_EQ(NormalizeValue(180.0, -180.0, 180.0), 180.0);
    EXPECT_EQ(NormalizeValue(-180.0, -180.0, 180.0), -180.0);
    EXPECT_EQ(NormalizeValue(540.0, -180.0, 180.0), 180.0);
    EXPECT_EQ(NormalizeValue(-540.0, -180.0, 180.0), -180.0);
    EXPECT_EQ(NormalizeValue(5.0, 10.0, 20.0), 15.0);
}

TEST(AngleUtilityTest, HugeAnglesEndAtOnce)
{
    for (const double angle : {2.3e18, 1e38, 9.7e39, -9.7e39}) {
        EXPECT_LE(std::abs(NormalizeValue(angle, -180.0, 180.0)), 180.0) << angle;
        EXPECT_LE(std::abs(NormalizeValue(angle, 360.0) - 180.0), 180.0) << angle;
    }
}

TEST(AngleUtilityTest, AngleThatIsNotFiniteGivesNaN)
{
    for (const double angle : {kInfinity, -kInfinity, kNaN}) {
        EXPECT_TRUE(std::isnan(NormalizeValue(angle, 360.0)));
        EXPECT_TRUE(std::isnan(NormalizeValue(angle, -180.0, 180.0)));
    }
}

TEST(AngleUtilityTest, RangeWithoutWidthLeavesTheValueAlone)
{
    EXPECT_EQ(NormalizeValue(-5.0, 0.0), -5.0);
    EXPECT_EQ(NormalizeValue(-5.0, -360.0), -5.0);
    EXPECT_EQ(NormalizeValue(5.0, kInfinity), 5.0);
    EXPECT_EQ(NormalizeValue(5.0, 2.0, 2.0), 5.0);
    EXPECT_EQ(NormalizeValue(5.0, 180.0, -180.0), 5.0);
    EXPECT_EQ(NormalizeValue(5.0, kNaN, 180.0), 5.0);
}

TEST(AngleUtilityTest, ConstrainClampsToTheRange)
{
    EXPECT_EQ(ConstrainRange(5.0, 0.0, 2.0), 2.0);
    EXPECT_EQ(ConstrainRange(-5.0, 0.0, 2.0), 0.0);
    EXPECT_EQ(ConstrainRange(1.5, 0.0, 2.0), 1.5);
    EXPECT_TRUE(std::isnan(ConstrainRange(kNaN, 0.0, 2.0)));
}

TEST(AngleUtilityTest, ConstrainRefusesARangeWithoutWidth)
{
    EXPECT_EQ(refusalOf(2.0, 2.0), "maxrange must be greater than minrange: minrange:2 maxrange:2");
    EXPECT_EQ(refusalOf(3.5, -0.25), "maxrange must be greater than minrange: minrange:3.5 maxrange:-0.25");
    EXPECT_EQ(refusalOf(0.0, kNaN), "maxrange must be greater than minrange: minrange:0 maxrange:nan");
    EXPECT_EQ(refusalOf(kNaN, 1.0), "maxrange must be greater than minrange: minrange:nan maxrange:1");
}
