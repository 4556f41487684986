#include "VICTORY/OrvaneServer/GpsAvailability.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace {

using aspn2_msgs::idl::MeasurementIncorporationStatus;

constexpr std::nullopt_t kNone = std::nullopt;
constexpr std::uint32_t kLost = 67;
constexpr std::uint32_t kBack = 68;
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

/// A message with a number of measurements for each set of a list.
MeasurementIncorporationStatus measurements(const std::vector<std::pair<std::int32_t, std::int32_t>>& entries)
{
    MeasurementIncorporationStatus message;
    for (const auto& [set, available] : entries) {
        aspn2_msgs::idl::meas_type_set entry;
        entry.meas_set_id(set);
        entry.meas_avail(available);
        message.meas_types().push_back(entry);
    }
    return message;
}

struct GpsAvailabilityTest : testing::Test {
    /// The warning that is due.
    std::optional<std::uint32_t> store(const MeasurementIncorporationStatus& message)
    {
        const bool wasLost = availability.isLost();
        std::optional<std::uint32_t> warning;
        availability.storeGpsAvailability(message, [&](std::uint32_t id) {
            EXPECT_EQ(availability.isLost(), wasLost);
            warning = id;
        });
        return warning;
    }
    std::optional<std::uint32_t> store(std::int32_t count) { return store(measurements({{1, count}})); }

    GpsAvailability availability;
};

}  // namespace

TEST_F(GpsAvailabilityTest, FirstLowCountIsALossAtOnce)
{
    EXPECT_FALSE(availability.isLost());
    EXPECT_EQ(store(1), kLost);
    EXPECT_TRUE(availability.isLost());
}

TEST_F(GpsAvailabilityTest, FirstGoodCountIsNone)
{
    EXPECT_EQ(store(2), kNone);
    EXPECT_FALSE(availability.isLost());
}

TEST_F(GpsAvailabilityTest, WhatIsLostIsNotLostAgain)
{
    EXPECT_EQ(store(1), kLost);
    EXPECT_EQ(store(1), kNone);
    EXPECT_TRUE(availability.isLost());
}

TEST_F(GpsAvailabilityTest, ThreeCountsThatAreEnoughBringTheMeasurementsBack)
{
    store(0);
    EXPECT_EQ(store(2), kNone);
    EXPECT_EQ(store(2), kNone);
    EXPECT_TRUE(availability.isLost());
    EXPECT_EQ(store(2), kBack);
    EXPECT_FALSE(availability.isLost());
    EXPECT_EQ(store(2), kNone);
}

TEST_F(GpsAvailabilityTest, ALowCountIsForgottenAfterThreeMore)
{
    store(0);
    for (const std::int32_t count : {2, 2, 1, 2, 2}) EXPECT_EQ(store(count), kNone);
    EXPECT_EQ(store(3), kBack);
}

TEST_F(GpsAvailabilityTest, ThreeLowCountsAfterGoodOnesAreALoss)
{
    for (const std::int32_t count : {2, 2, 2, 1, 0}) EXPECT_EQ(store(count), kNone);
    EXPECT_EQ(store(-1), kLost);
}

TEST_F(GpsAvailabilityTest, SetsOneAndTwoAreCountedTogetherAndNoOther)
{
    EXPECT_EQ(store(measurements({{1, 1}, {2, 1}})), kNone);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(store(measurements({{0, 9}, {3, 9}, {4, 9}})), kNone);
    EXPECT_EQ(store(measurements({{0, 9}, {3, 9}, {4, 9}})), kLost);
}

TEST_F(GpsAvailabilityTest, ASumBeyondThirtyTwoBitsIsEnough)
{
    EXPECT_EQ(store(measurements({{1, kMost}, {2, kMost}})), kNone);
}
