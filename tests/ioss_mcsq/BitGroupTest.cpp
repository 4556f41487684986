#include "ioss_mcsq/BitGroup.h"

#include <gtest/gtest.h>

TEST(BitGroupTest, GroupIsShiftedDown)
{
    EXPECT_EQ(bitsOf(0b1011'0110, {4, 4}), 0b1011);
    EXPECT_EQ(bitsOf(0b1011'0110, {1, 2}), 0b11);
    EXPECT_EQ(bitsOf(0b1011'0110, {7, 1}), 1);
    EXPECT_EQ(bitsOf(0xA5, {0, 8}), 0xA5);
}

TEST(BitGroupTest, OtherBitsStayWhenAGroupIsSet)
{
    EXPECT_EQ(withBits(0b1111'1111, {2, 3}, 0b010), 0b1110'1011);
    EXPECT_EQ(withBits(0b0000'0000, {6, 2}, 0b11), 0b1100'0000);
    EXPECT_EQ(withBits(0b0000'0000, {0, 2}, 0xFF), 0b0000'0011);
}
