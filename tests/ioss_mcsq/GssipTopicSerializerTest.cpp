#include "ioss_mcsq/GssipTopicSerializer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <numeric>
#include <vector>

using aspn2_msgs::idl::GSSIP;

namespace {

/// A record of five bytes of data, and how it travels on a little-endian machine.
GSSIP someRecord()
{
    GSSIP record;
    record.header().seq_num(0x0102030405060708);
    record.header().device_id(0x11223344);
    record.num_bytes(5);
    record.data({0xFF, 0x81, 0x10, 0x27, 0x55});
    return record;
}

std::vector<std::uint8_t> someBytes()
{
    std::vector<std::uint8_t> bytes = {0, 1, 0, 0, 8, 7, 6, 5, 4, 3, 2, 1};
    bytes.resize(44);  // both times
    const std::vector<std::uint8_t> rest = {0x44, 0x33, 0x22, 0x11, 5,    0,    0,    0,   5,
                                            0,    0,    0,    0xFF, 0x81, 0x10, 0x27, 0x55};
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

struct GssipTopicSerializerTest : testing::Test {
    GssipTopicSerializer serializer;
    GSSIP record;
    std::vector<std::uint8_t> bytes;
};

}  // namespace

TEST_F(GssipTopicSerializerTest, ARecordTakesItsDataAnd56Bytes)
{
    EXPECT_EQ(serializer.GetSerializedSize(record), 56U);
    record.data().resize(5);
    EXPECT_EQ(serializer.GetSerializedSize(record), 61U);
    record.data().resize(70000);
    EXPECT_EQ(serializer.GetSerializedSize(record), 70056U);
}

TEST_F(GssipTopicSerializerTest, SerializeGivesTheBytesOfThePayload)
{
    bytes = {1, 2, 3};
    ASSERT_TRUE(serializer.Serialize(someRecord(), bytes));
    EXPECT_EQ(bytes, someBytes());
}

TEST_F(GssipTopicSerializerTest, WhatTheTypeRefusesIsRefusedAndTheBytesStay)
{
    struct Refusing : GssipTopicSerializer::Type {
        bool serialize(void*, eprosima::fastrtps::rtps::SerializedPayload_t*) override { return false; }
    };
    GssipTopicSerializer refusing(std::make_unique<Refusing>());
    bytes = {1, 2, 3};
    EXPECT_FALSE(refusing.Serialize(someRecord(), bytes));
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 2, 3}));
}

TEST_F(GssipTopicSerializerTest, DeserializeReadsWhatSerializeGave)
{
    const std::vector<std::uint8_t> source = someBytes();
    ASSERT_TRUE(serializer.Deserialize(source.data(), 61, record));
    EXPECT_EQ(record.header().seq_num(), 0x0102030405060708);
    EXPECT_EQ(record.header().device_id(), 0x11223344);
    EXPECT_EQ(record.num_bytes(), 5);
    EXPECT_EQ(record.data(), (std::vector<std::uint8_t>{0xFF, 0x81, 0x10, 0x27, 0x55}));
}

TEST_F(GssipTopicSerializerTest, DeserializeReadsBigEndianRecords)
{
    std::vector<std::uint8_t> source(57);
    source[51] = 7;  // num_bytes
    source[55] = 1;  // the count of data
    source[56] = 0xAB;
    ASSERT_TRUE(serializer.Deserialize(source.data(), 57, record));
    EXPECT_EQ(record.num_bytes(), 7);
    EXPECT_EQ(record.data(), (std::vector<std::uint8_t>{0xAB}));
}

TEST_F(GssipTopicSerializerTest, AnyAddressWillDo)
{
    for (std::size_t shift = 0; shift < 8; ++shift) {
        std::vector<std::uint8_t> source(shift);
        const std::vector<std::uint8_t> image = someBytes();
        source.insert(source.end(), image.begin(), image.end());
        EXPECT_TRUE(serializer.Deserialize(source.data() + shift, 61, record)) << shift;
        EXPECT_EQ(record.num_bytes(), 5);
    }
}

TEST_F(GssipTopicSerializerTest, WhatFollowsARecordIsNotLookedAt)
{
    std::vector<std::uint8_t> source = someBytes();
    source.resize(1000, 0xEE);
    ASSERT_TRUE(serializer.Deserialize(source.data(), 1000, record));
    EXPECT_EQ(record.data().size(), 5U);
}

TEST_F(GssipTopicSerializerTest, EveryCutRecordIsRefusedAndItsBytesStay)
{
    const std::vector<std::uint8_t> image = someBytes();
    for (std::uint32_t length = 0; length < 61; ++length) {
        // Of exactly this size and still there afterwards: a sanitizer sees a read too far, and a release.
        std::vector<std::uint8_t> source(image.begin(), image.begin() + length);
        EXPECT_FALSE(serializer.Deserialize(source.data(), length, record)) << length;
        EXPECT_EQ(std::accumulate(source.begin(), source.end(), 0U),
                  std::accumulate(image.begin(), image.begin() + length, 0U));
    }
}

TEST_F(GssipTopicSerializerTest, ACountOfDataThatIsNotThereIsRefused)
{
    std::vector<std::uint8_t> source = someBytes();
    source[52] = 6;
    EXPECT_FALSE(serializer.Deserialize(source.data(), 61, record));
    for (const std::size_t byte : {52U, 53U, 54U, 55U}) source[byte] = 0xFF;
    EXPECT_FALSE(serializer.Deserialize(source.data(), 61, record));
}

TEST_F(GssipTopicSerializerTest, AnEncapsulationThatIsNoneIsRefused)
{
    std::vector<std::uint8_t> source = someBytes();
    source[1] = 0x33;
    EXPECT_FALSE(serializer.Deserialize(source.data(), 61, record));
}

TEST_F(GssipTopicSerializerTest, NoBytesAreNoRecord)
{
    EXPECT_FALSE(serializer.Deserialize(nullptr, 0, record));
    EXPECT_FALSE(serializer.Deserialize(nullptr, 61, record));
}
