#include "lab/ctl/serve/ErrorEllipse.h"

#include <gtest/gtest.h>

#include <limits>

using orvanectl::errorEllipse;

TEST(ErrorEllipseTest, HalfAxesAreTheDeviationsTimesTheFactorOf95Percent)
{
    const auto ellipse = errorEllipse(4, 0, 1);
    ASSERT_TRUE(ellipse);
    EXPECT_NEAR(ellipse->majorMetres, 4.89549, 1e-5);
    EXPECT_NEAR(ellipse->minorMetres, 2.44775, 1e-5);
    EXPECT_DOUBLE_EQ(ellipse->azimuthDegrees, 0);
}

TEST(ErrorEllipseTest, AzimuthOfTheLongAxisGoesFromNorthOverEast)
{
    EXPECT_DOUBLE_EQ(errorEllipse(1, 0, 4)->azimuthDegrees, 90);
    EXPECT_DOUBLE_EQ(errorEllipse(2, 1, 2)->azimuthDegrees, 45);
    EXPECT_DOUBLE_EQ(errorEllipse(2, -1, 2)->azimuthDegrees, 135);
}

TEST(ErrorEllipseTest, ALineIsAnEllipseWithoutWidth)
{
    EXPECT_NEAR(errorEllipse(0.1, 0.1, 0.1)->minorMetres, 0, 1e-6);
    EXPECT_DOUBLE_EQ(errorEllipse(0, 0, 0)->majorMetres, 0);
}

TEST(ErrorEllipseTest, WhatIsNoCovarianceHasNone)
{
    EXPECT_FALSE(errorEllipse(-1, 0, -1));
    EXPECT_FALSE(errorEllipse(1, 2, 1));
    EXPECT_FALSE(errorEllipse(std::numeric_limits<double>::quiet_NaN(), 0, 1));
    EXPECT_FALSE(errorEllipse(1, 0, std::numeric_limits<double>::infinity()));
}
