#include "lab/mcap/Copy.h"
#include "tests/lab/mcap/Recordings.h"

#include <gtest/gtest.h>

using namespace recordings;

namespace {

std::string copyOf(const std::string& text, const mcap::CopyFilter& filter = {})
{
    TextOutput output;
    mcap::copy(TextSource(text), output, {}, filter);
    return output.text;
}

/// A recording that was cut off behind a file within it.
std::string recordingWithAttachment(std::uint32_t crcOff = 0)
{
    mcap::ByteWriter content;
    content.u64(1000);
    content.u64(900);
    content.text("notes.txt");
    content.text("text/plain");
    content.u64(4);
    content.raw(mcap::bytesOf("data"));
    content.u32(mcap::crc32Of(content.bytes()) + crcOff);
    mcap::ByteWriter bytes;
    bytes.raw(mcap::kMagic);
    mcap::writeFront(bytes, mcap::Op::Attachment, content.size());
    bytes.raw(content.bytes());
    return {bytes.bytes().begin(), bytes.bytes().end()};
}

bool isClosed(const std::string& text)
{
    Reading reading;
    return mcap::scan(TextSource(text), reading).isClosed;
}

}  // namespace

TEST(CopyTest, WhatWasCutAnywhereIsClosedWithAllThatWasWhole)
{
    const std::string whole = recordingOf(4);
    for (std::size_t size = 8; size < whole.size(); ++size) {
        const std::string cut = whole.substr(0, size);
        const std::string repaired = copyOf(cut);
        ASSERT_TRUE(isClosed(repaired)) << size;
        ASSERT_EQ(readingOf(repaired).messages, readingOf(cut).messages) << size;
    }
}

TEST(CopyTest, OfWhatIsNoRecordingNothingIsWritten)
{
    EXPECT_EQ(copyOf("no recording at all"), "");
    EXPECT_EQ(copyOf("\x89MCAP"), "");
}

TEST(CopyTest, DamagedChunkIsLeftOutAndCounted)
{
    std::string text = recordingOf(6, false);
    text[text.find("data2")] = 'D';
    TextOutput output;
    EXPECT_EQ(mcap::copy(TextSource(text), output, {}).problems, 1U);
    EXPECT_EQ(readingOf(output.text).messages.size(), 4U);
    EXPECT_TRUE(isClosed(output.text));
}

TEST(CopyTest, ChannelsAndTimesAreChosen)
{
    const mcap::CopyFilter filter{{1010, 1030}, [](const mcap::Channel& channel) { return channel.topic == "B"; }};
    const std::vector<std::string> expected = {"channel B json", "B #1 1010 901 data1xxxxxxxxxxxxxxxxxxxx",
                                               "B #3 1030 903 data3xxxxxxxxxxxxxxxxxxxx"};
    auto lines = readingOf(copyOf(recordingOf(6), filter)).lines;
    std::erase(lines, "metadata missed A=3");
    EXPECT_EQ(lines, expected);
}

TEST(CopyTest, AttachmentsAreKept)
{
    const std::string copy = copyOf(recordingWithAttachment());
    const Reading reading = readingOf(copy);
    EXPECT_EQ(reading.lines, std::vector<std::string>{"attachment notes.txt text/plain 4"});
    EXPECT_EQ(reading.problems, std::vector<std::string>());
    EXPECT_NE(copy.find("data"), std::string::npos);
    const auto summary = mcap::readSummary(TextSource(copy));
    ASSERT_TRUE(summary && summary->statistics);
    EXPECT_EQ(summary->statistics->attachments, 1U);
}

TEST(CopyTest, DamagedAttachmentIsLeftOutAndCounted)
{
    TextOutput output;
    EXPECT_EQ(mcap::copy(TextSource(recordingWithAttachment(1)), output, {}).problems, 1U);
    EXPECT_EQ(readingOf(output.text).lines, std::vector<std::string>());
}
