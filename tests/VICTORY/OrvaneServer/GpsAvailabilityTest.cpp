#include "VICTORY/OrvaneServer/GpsAvailability.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using Change = GpsAvailability::Change;

constexpr bool kLost = true;
constexpr bool kHad = false;

}  // namespace

TEST(GpsAvailabilityTest, FirstLowCountIsALossAtOnce)
{
    EXPECT_EQ(GpsAvailability().store(1, kHad), Change::Lost);
    EXPECT_EQ(GpsAvailability().store(2, kHad), Change::None);
}

TEST(GpsAvailabilityTest, WhatIsLostIsNotLostAgain)
{
    EXPECT_EQ(GpsAvailability().store(1, kLost), Change::None);
}

TEST(GpsAvailabilityTest, ThreeCountsThatAreEnoughBringTheMeasurementsBack)
{
    GpsAvailability availability;
    EXPECT_EQ(availability.store(2, kLost), Change::None);
    EXPECT_EQ(availability.store(2, kLost), Change::None);
    EXPECT_EQ(availability.store(2, kLost), Change::Back);
    EXPECT_EQ(availability.store(2, kHad), Change::None);
}

TEST(GpsAvailabilityTest, ALowCountIsForgottenAfterThreeMore)
{
    GpsAvailability availability;
    for (const std::int32_t count : {2, 2, 1, 2, 2}) EXPECT_EQ(availability.store(count, kLost), Change::None);
    EXPECT_EQ(availability.store(3, kLost), Change::Back);
}

TEST(GpsAvailabilityTest, ThreeLowCountsAfterGoodOnesAreALoss)
{
    GpsAvailability availability;
    for (const std::int32_t count : {2, 2, 2, 1, 0}) EXPECT_EQ(availability.store(count, kHad), Change::None);
    EXPECT_EQ(availability.store(-1, kHad), Change::Lost);
}
