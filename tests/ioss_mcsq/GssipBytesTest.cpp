#include "ioss_mcsq/GssipBytes.h"

#include "tests/support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// A refusal of message 15051.
const Bytes kFrame = {0xFF, 0x81, 0xCB, 0x3A, 0x00, 0x00, 0x00, 0x84, 0x36, 0xBF};

/// The same with other data words.
Bytes withWordCount(std::uint8_t low, std::uint8_t high)
{
    Bytes bytes = kFrame;
    bytes[4] = low;
    bytes[5] = high;
    return bytes;
}

}  // namespace

TEST(GssipBytesTest, WordsAreLowByteFirst)
{
    EXPECT_EQ(gssip::wordAt(kFrame, 0), 0x81FF);
    EXPECT_EQ(gssip::wordAt(kFrame, 4), 0xBF36);
}

TEST(GssipBytesTest, MessageIdIsTheSecondWord)
{
    EXPECT_EQ(gssip::messageIdOf(kFrame), 15051);
    EXPECT_EQ(gssip::messageIdOf(Bytes{0, 0, 0xFF, 0xFF}), 65535);
}

TEST(GssipBytesTest, FewerThanFourBytesHaveNoMessageId)
{
    GuardedMemory memory(16);
    for (std::size_t size = 0; size < 4; ++size) EXPECT_EQ(gssip::messageIdOf(memory.atEnd(size)), std::nullopt);
    std::ranges::fill(memory.atEnd(4), std::uint8_t{1});
    EXPECT_EQ(gssip::messageIdOf(memory.atEnd(4)), 257);
}

TEST(GssipBytesTest, ResidualIsWhatMustBeAdded)
{
    EXPECT_EQ(gssip::residualOf(kFrame), 0);
    EXPECT_EQ(gssip::residualOf(Bytes{0x01, 0x00, 0x00, 0x10}), 0xEFFF);
    EXPECT_EQ(gssip::residualOf(Bytes{0xFF, 0xFF, 0x02, 0x00, 0x77}), 0xFFFF) << "the odd byte does not count";
    EXPECT_EQ(gssip::residualOf(Bytes{}), 0);
}

TEST(GssipBytesTest, HeaderIsTenBytesWithTheDelimiterAndARightSum)
{
    EXPECT_TRUE(gssip::beginsWithHeader(kFrame));
    Bytes longer = kFrame;
    longer.push_back(0x77);
    EXPECT_TRUE(gssip::beginsWithHeader(longer));
    EXPECT_FALSE(gssip::beginsWithHeader(gssip::Bytes(kFrame).first(9)));
    Bytes other = kFrame;
    other[8] ^= 1;
    EXPECT_FALSE(gssip::beginsWithHeader(other));
    EXPECT_FALSE(gssip::beginsWithHeader(Bytes(10))) << "a sum of 0 without the delimiter";
}

TEST(GssipBytesTest, SizeOfTheFrameIsThatOfItsWordCount)
{
    EXPECT_EQ(gssip::frameBytesOf(kFrame), 10U);
    EXPECT_EQ(gssip::frameBytesOf(withWordCount(21, 0)), 54U);
    EXPECT_EQ(gssip::frameBytesOf(withWordCount(0xFF, 0xFF)), 131082U);
    EXPECT_EQ(gssip::kLargestFrameBytes, 131082U);
}

TEST(GssipBytesTest, FrameOfARecordIsAsLongAsItTells)
{
    EXPECT_EQ(gssip::frameIn(kFrame, 10).size(), 10U);
    EXPECT_EQ(gssip::frameIn(kFrame, 4).size(), 4U);
    EXPECT_EQ(gssip::frameIn(kFrame, 4).data(), kFrame.data());
}

TEST(GssipBytesTest, LengthThatCannotBeIsNoFrame)
{
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    for (const std::int64_t length :
         {std::int64_t{11}, std::int64_t{3}, std::int64_t{0}, std::int64_t{-1}, kMost, kLeast})
        EXPECT_TRUE(gssip::frameIn(kFrame, length).empty()) << length;
}
