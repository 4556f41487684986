#include "reliability/load/Epochs.h"

#include "VICTORY/OrvaneServer/BlendedNavigation.h"
#include "lab/libvictory/RecordFields.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

namespace {

/// Six inputs of an epoch, through the service's record and the bus's text.
struct EpochsTest : testing::Test {
    void write(std::int32_t epoch)
    {
        Epochs::write(utcTime, epoch);
        Epochs::write(pnt, epoch);
        Epochs::write(mis, epoch);
        Epochs::write(receiver, epoch);
    }

    nlohmann::json told(bool gpsLost = false) const
    {
        const BlendedNavigation::Inputs inputs{utcTime, pnt, mis, pva, assurance, receiver, gpsLost};
        return labvictory::toJson(
            BlendedNavigation::record(inputs, [](unsigned short id) { return &BlendedNavigation::measSources()[id]; }));
    }

    aspn2_msgs::idl::UTCTime utcTime;
    aspn2_msgs::idl::HalvexPNT pnt;
    aspn2_msgs::idl::MeasurementIncorporationStatus mis;
    aspn2_msgs::idl::PositionVelocityAttitude pva;
    aspn2_msgs::idl::AssuranceState assurance;
    unpacked_msg8504_t receiver = {};
};

}  // namespace

TEST_F(EpochsTest, EachInputKeepsItsOwn)
{
    Epochs::write(utcTime, 1);
    Epochs::write(pnt, 2);
    Epochs::write(mis, 3);
    Epochs::write(receiver, 4);
    const auto epochs = Epochs::read(told());
    ASSERT_TRUE(epochs);
    EXPECT_EQ(epochs->utcTime, 1);
    EXPECT_EQ(epochs->pnt, 2);
    EXPECT_EQ(epochs->mis, 3);
    EXPECT_EQ(epochs->receiver, 4);
}

TEST_F(EpochsTest, AllNumbersGetThrough)
{
    for (std::int32_t epoch = 1; epoch <= Epochs::kMost; epoch += 97) {
        write(epoch);
        const auto epochs = Epochs::read(told());
        ASSERT_TRUE(epochs) << epoch;
        ASSERT_EQ(epochs->utcTime, epoch);
        ASSERT_EQ(epochs->pnt, epoch);
        ASSERT_EQ(epochs->mis, epoch);
        ASSERT_EQ(epochs->receiver, epoch);
    }
    write(Epochs::kMost);
    EXPECT_EQ(Epochs::read(told())->receiver, 100'000);
}

TEST_F(EpochsTest, WithoutGpsTheyAreTheSame)
{
    write(12'345);
    EXPECT_EQ(Epochs::read(told(true))->mis, 12'345);
}

TEST_F(EpochsTest, BlocksComeAgain)
{
    write(1);
    for (std::int32_t block = 0; block < 24; ++block) {
        Epochs::writeBlock(pva, block);
        Epochs::writeBlock(assurance, block);
        const auto epochs = Epochs::read(told());
        ASSERT_TRUE(epochs) << block;
        EXPECT_EQ(epochs->pvaBlock, block % 8);
        EXPECT_EQ(epochs->assuranceBlock, block % 3);
    }
}

TEST_F(EpochsTest, RecordOfOtherInputsIsNone)
{
    EXPECT_FALSE(Epochs::read(told()));
}
