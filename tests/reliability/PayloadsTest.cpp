#include "reliability/hostile/Payloads.h"
#include "aspn2_msgs/UTCTimePubSubTypes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

using aspn2_msgs::idl::UTCTime;

namespace {

constexpr std::int32_t kDevice = 0x01600000;

/// Whether a payload is a record; the record then.
bool isRecord(const Payload& payload, UTCTime& record)
{
    eprosima::fastrtps::rtps::SerializedPayload_t bytes(static_cast<std::uint32_t>(payload.size()));
    std::copy(payload.begin(), payload.end(), bytes.data);
    bytes.length = bytes.max_size;
    return aspn2_msgs::idl::UTCTimePubSubType().deserialize(&bytes, &record);
}

}  // namespace

TEST(PayloadsTest, ExtremeRecordsAreRecordsOfTheirSourceAndTime)
{
    Payloads payloads("UTCTime", 1, kDevice, 5000);
    bool hasNaN = false, hasInfinity = false;
    for (int i = 0; i < 200; ++i) {
        UTCTime record;
        ASSERT_TRUE(isRecord(payloads.extreme(), record));
        EXPECT_EQ(record.header().device_id(), kDevice);
        EXPECT_EQ(record.header().timestamp_valid().sec(), 5000);
        hasNaN = hasNaN || std::isnan(record.gps_tow_nsec());
        hasInfinity = hasInfinity || std::isinf(record.gps_tow_nsec());
    }
    EXPECT_TRUE(hasNaN && hasInfinity);
}

TEST(PayloadsTest, OfFourTheFirstIsARecordAndTheThirdIsCut)
{
    Payloads payloads("UTCTime", 1, kDevice, 5000);
    const Payload first = payloads.next(), second = payloads.next(), third = payloads.next(), fourth = payloads.next();
    UTCTime record;
    EXPECT_TRUE(isRecord(first, record));
    EXPECT_EQ(second.size(), first.size());
    EXPECT_LT(third.size(), first.size());
    EXPECT_FALSE(isRecord(third, record));
    EXPECT_EQ(fourth.size(), first.size());
    EXPECT_FALSE(std::equal(first.begin(), first.begin() + 4, fourth.begin()));
}

TEST(PayloadsTest, OneSeedMakesOneRow)
{
    Payloads one("BitReport", 7, kDevice, 5000), same("BitReport", 7, kDevice, 5000), other("BitReport", 8, kDevice, 0);
    EXPECT_EQ(one.next(), same.next());
    EXPECT_NE(one.next(), other.next());
}

TEST(PayloadsTest, UnknownTypeIsAnError)
{
    EXPECT_THROW(Payloads("GNSS", 1, kDevice, 0), std::invalid_argument);
}

TEST(PayloadsTest, StampIsThatOfTheHeader)
{
    const auto stamp = stampOf("UTCTime", Payloads("UTCTime", 1, kDevice, 5000).extreme());
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->server, 96);
    EXPECT_EQ(stamp->validAt, 5000.0);
    EXPECT_FALSE(stampOf("UTCTime", Payload(40, 0xA5)));
}

TEST(PayloadsTest, WhatIsNotWantedTakesNoInputAway)
{
    EXPECT_GT(shareThatFits({{"UTCTime", 1, std::uint8_t{97}}}, kDevice, 5000), 0.9);
}

TEST(PayloadsTest, WhatIsWantedTakesSomeInputsAway)
{
    const double share = shareThatFits({{"UTCTime", 1, std::uint8_t{96}}}, kDevice, 5000);
    EXPECT_GT(share, 0.1);
    EXPECT_LT(share, 0.9);
}

TEST(PayloadsTest, MoreInputsFitTogetherLessOften)
{
    EXPECT_LT(shareThatFits({{"UTCTime", 1, {}}, {"AssuranceState", 2, {}}, {"HalvexPNT", 3, {}}}, kDevice, 5000),
              shareThatFits({{"UTCTime", 1, {}}}, kDevice, 5000));
}
