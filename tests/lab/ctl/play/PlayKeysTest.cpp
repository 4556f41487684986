#include "lab/ctl/play/PlayKeys.h"

#include <gtest/gtest.h>

using namespace orvanectl;

TEST(PlayKeysTest, EachKeyHasItsMeaningAndOthersNone)
{
    EXPECT_EQ(playKeyOf(' '), PlayKey::Pause);
    EXPECT_EQ(playKeyOf('.'), PlayKey::Step);
    EXPECT_EQ(playKeyOf('\n'), PlayKey::Step);
    EXPECT_EQ(playKeyOf('+'), PlayKey::Faster);
    EXPECT_EQ(playKeyOf('-'), PlayKey::Slower);
    EXPECT_EQ(playKeyOf('q'), PlayKey::Quit);
    EXPECT_EQ(playKeyOf('x'), PlayKey::None);
    EXPECT_EQ(playKeyOf('\x1B'), PlayKey::None);
}

TEST(PlayKeysTest, RateIsDoubledAndHalvedWithinItsLimits)
{
    EXPECT_EQ(fasterThan(1), 2);
    EXPECT_EQ(slowerThan(1), 0.5);
    EXPECT_EQ(fasterThan(600), 1000);
    EXPECT_EQ(slowerThan(0.0015), 0.001);
}
