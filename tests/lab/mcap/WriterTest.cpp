#include "lab/mcap/Crc32.h"
#include "tests/lab/mcap/Recordings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

using namespace recordings;

namespace {

/// Made by hand from the format's text: a schema, a channel, a chunk of two messages that is not compressed, metadata.
constexpr const char* kByHand =
    "894d434150300d0a01110000000000000000000000090000006f7276616e6563746c032a000000000000000100010000"
    "0054060000006f6d6769646c150000007374727563742054207b206c6f6e6720783b207d3b0422000000000000000000"
    "010005000000546f706963030000006364720a000000010000006b0100000076067600000000000000e8030000000000"
    "00d0070000000000004e000000000000000e36c232000000004e00000000000000051e00000000000000000007000000"
    "e80300000000000084030000000000000001000005000000051e00000000000000000008000000d0070000000000006c"
    "070000000000000001000006000000072600000000000000000020000000e8030000000000000000000000000000d007"
    "00000000000027000000000000000c1800000000000000060000006d69737365640a000000010000006e01000000330f"
    "04000000000000003b1b231d032a0000000000000001000100000054060000006f6d6769646c15000000737472756374"
    "2054207b206c6f6e6720783b207d3b0422000000000000000000010005000000546f706963030000006364720a000000"
    "010000006b01000000760b38000000000000000200000000000000010001000000000000000100000001000000e80300"
    "0000000000d0070000000000000a00000000000200000000000000084a00000000000000e803000000000000d0070000"
    "0000000080000000000000007f000000000000000a0000000000ff000000000000002f00000000000000000000004e00"
    "0000000000004e000000000000000d1a000000000000002e010000000000002100000000000000060000006d69737365"
    "640e1100000000000000035c0100000000000033000000000000000e1100000000000000048f010000000000002b0000"
    "00000000000e11000000000000000bba0100000000000041000000000000000e110000000000000008fb010000000000"
    "0053000000000000000e11000000000000000d4e0200000000000023000000000000000214000000000000005c010000"
    "00000000710200000000000093474057894d434150300d0a";

std::string hexOf(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<std::uint8_t>(byte);
        text += "0123456789abcdef"[value >> 4];
        text += "0123456789abcdef"[value & 15];
    }
    return text;
}

}  // namespace

TEST(WriterTest, EveryByteIsAsTheFormatHasIt)
{
    TextOutput output;
    mcap::Writer writer(output, {"orvanectl", 1U << 20, false});
    const auto schema = writer.addSchema("T", "omgidl", "struct T { long x; };");
    const auto channel = writer.addChannel(schema, "Topic", "cdr", {{"k", "v"}});
    const std::uint8_t first[] = {0, 1, 0, 0, 5, 0, 0, 0};
    const std::uint8_t second[] = {0, 1, 0, 0, 6, 0, 0, 0};
    writer.add({channel, 7, 1000, 900, first});
    writer.add({channel, 8, 2000, 1900, second});
    writer.endChunk();
    writer.add(mcap::Metadata{"missed", {{"n", "3"}}});
    writer.close();
    EXPECT_EQ(hexOf(output.text), kByHand);
}

TEST(WriterTest, ChecksumIsThatOfTheStandard)
{
    EXPECT_EQ(mcap::crc32Of(mcap::bytesOf("123456789")), 0xCBF43926);
    EXPECT_EQ(mcap::crc32Of({}), 0U);
    std::vector<std::uint8_t> all(256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    EXPECT_EQ(mcap::crc32Of(all), 0x29058C73);
    mcap::Crc32 inPieces;
    for (std::size_t at = 0, size = 1; at < all.size(); at += size++)
        inPieces.add(mcap::Bytes(all).subspan(at, std::min(size, all.size() - at)));
    EXPECT_EQ(inPieces.value(), 0x29058C73);
}

TEST(WriterTest, WhatIsWrittenIsRead)
{
    const std::vector<std::string> expected = {"schema T omgidl",
                                               "channel A cdr",
                                               "channel B json",
                                               "A #0 1000 900 data0xxxxxxxxxxxxxxxxxxxx",
                                               "B #1 1010 901 data1xxxxxxxxxxxxxxxxxxxx",
                                               "A #2 1020 902 data2xxxxxxxxxxxxxxxxxxxx",
                                               "metadata missed A=3"};
    auto lines = readingOf(recordingOf(3)).lines;
    std::swap(lines[5], lines[6]);  // the last message is held until the end
    EXPECT_EQ(lines, expected);
}

TEST(WriterTest, ChunkEndsOnceItHasItsSize)
{
    TextOutput output;
    mcap::Writer writer(output, {"test", 100, true});
    const auto channel = writer.addChannel(0, "A", "json", {});
    const std::string data(70, 'x');  // 101 bytes with its front
    writer.add({channel, 0, 1, 1, mcap::bytesOf(data)});
    EXPECT_EQ(writer.held(), 0U);
    EXPECT_EQ(writer.statistics().chunks, 1U);
}

TEST(WriterTest, ZerosTakeHardlyAnyRoom)
{
    TextOutput output;
    mcap::Writer writer(output, {});
    const auto channel = writer.addChannel(0, "A", "", {});
    const std::string data(500'000, '\0');
    writer.add({channel, 0, 1, 1, mcap::bytesOf(data)});
    writer.close();
    EXPECT_LT(output.text.size(), 2000U);
}

TEST(WriterTest, ChunkThatDoesNotBecomeShorterStaysAsItIs)
{
    TextOutput output;
    mcap::Writer writer(output, {});
    const auto channel = writer.addChannel(0, "A", "", {});
    std::mt19937 noise;
    std::string data(1000, ' ');
    for (char& byte : data) byte = static_cast<char>(noise() & 0xFFU);
    writer.add({channel, 0, 1, 1, mcap::bytesOf(data)});
    writer.close();
    const auto summary = mcap::readSummary(TextSource(output.text));
    ASSERT_TRUE(summary && summary->chunks.size() == 1);
    EXPECT_EQ(summary->chunks[0].compression, "");
    EXPECT_EQ(readingOf(output.text).messages, std::vector<std::string>{"A #0 1 1 " + data});
}

TEST(WriterTest, StatisticsTellWhatWasWritten)
{
    const auto summary = mcap::readSummary(TextSource(recordingOf(5)));
    ASSERT_TRUE(summary && summary->statistics);
    const mcap::Statistics expected{5, 1, 2, 0, 1, 3, 1000, 1040, {{0, 3}, {1, 2}}};
    EXPECT_EQ(*summary->statistics, expected);
}

TEST(WriterTest, IndexThatWouldBeTooLargeIsLeftOut)
{
    TextOutput output;
    mcap::Writer writer(output, {"test", 1, true, 200});
    const auto channel = writer.addChannel(0, "A", "json", {});
    for (std::uint32_t i = 0; i < 5; ++i) writer.add({channel, i, i, i, {}});
    writer.add(mcap::Metadata{"missed", {}});
    writer.close();
    const TextSource source(output.text);
    const auto summary = mcap::readSummary(source);
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->chunks.size(), 0U);
    EXPECT_EQ(summary->statistics->chunks, 5U);
    EXPECT_FALSE(mcap::isComplete(*summary));
    Reading reading;
    EXPECT_TRUE(mcap::scan(source, reading).isClosed);
    EXPECT_EQ(reading.messages.size(), 5U);
}

TEST(WriterTest, MessageOfNoChannelIsRefused)
{
    TextOutput output;
    mcap::Writer writer(output, {});
    EXPECT_THROW(writer.add({0, 0, 1, 1, {}}), mcap::Malformed);
}
