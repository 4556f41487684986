#include "VICTORY/OrvaneServer/BlendedNavigation.h"

#include <gtest/gtest.h>

TEST(MeasSourcesTest, BeforeTheTableIsMadeThereIsNoSource)
{
    EXPECT_EQ(BlendedNavigation::MeasSources().encodeVictoryMeasSource(0), nullptr);
}

TEST(MeasSourcesTest, ThereAreTwelve)
{
    BlendedNavigation::MeasSources sources;
    sources.initMeasSourceEncoder();
    ASSERT_NE(sources.encodeVictoryMeasSource(11), nullptr);
    EXPECT_EQ(sources.encodeVictoryMeasSource(11)->sourceType, 14U);
    EXPECT_STREQ(sources.encodeVictoryMeasSource(11)->description, "ALTNAV_TIME");
    EXPECT_EQ(sources.encodeVictoryMeasSource(12), nullptr);
    EXPECT_EQ(sources.encodeVictoryMeasSource(65535), nullptr);
}

TEST(MeasSourcesTest, ASecondStartLeavesThem)
{
    BlendedNavigation::MeasSources sources;
    sources.initMeasSourceEncoder();
    sources.initMeasSourceEncoder();
    EXPECT_EQ(sources.encodeVictoryMeasSource(5)->sourceType, 4U);
    EXPECT_EQ(sources.encodeVictoryMeasSource(12), nullptr);
}
