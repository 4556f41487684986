#include "lab/mcap/Compression.h"
#include "lab/mcap/Crc32.h"
#include "tests/lab/mcap/Recordings.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace recordings;

namespace {

/// Where something stands in a recording that has it once.
std::size_t placeOf(const std::string& text, const std::string& what)
{
    const std::size_t place = text.find(what);
    EXPECT_NE(place, std::string::npos);
    return place;
}

std::string with(std::string text, std::size_t place, const std::string& bytes)
{
    return text.replace(place, bytes.size(), bytes);
}

/// Of the first chunk of a recording that is not compressed: behind its compression's name and the length of its records.
std::size_t chunkPlace(const std::string& text)
{
    constexpr std::size_t kFront = 9 + 8 + 8 + 8 + 4 + 4 + 8;
    return placeOf(text, "data0") - 31 - kFront;
}

/// A recording that was cut off, of chunks as others write them.
struct ChunksOfOthers {
    ChunksOfOthers() { bytes.raw(mcap::kMagic); }

    /// @param start, end  what it says of its times
    void add(std::uint64_t start, std::uint64_t end, const mcap::ByteWriter& records)
    {
        mcap::ByteWriter content;
        content.u64(start);
        content.u64(end);
        content.u64(records.size());
        content.u32(mcap::crc32Of(records.bytes()));
        content.text("");
        content.u64(records.size());
        content.raw(records.bytes());
        mcap::writeFront(bytes, mcap::Op::Chunk, content.size());
        bytes.raw(content.bytes());
    }

    std::string text() const { return {bytes.bytes().begin(), bytes.bytes().end()}; }

    mcap::ByteWriter bytes;
};

}  // namespace

TEST(ReaderTest, CutAtAnyByteItIsReadUpToTheLastWholeChunk)
{
    const std::string whole = recordingOf(6);
    const auto all = readingOf(whole).messages;
    ASSERT_EQ(all.size(), 6U);
    std::vector<std::size_t> chunkEnds;
    const auto summary = mcap::readSummary(TextSource(whole));
    ASSERT_TRUE(summary);
    for (const auto& chunk : summary->chunks)
        chunkEnds.push_back(static_cast<std::size_t>(chunk.offset + chunk.length));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Reading reading;
        const auto result = mcap::scan(TextSource(whole.substr(0, size)), reading);
        const auto chunks = std::ranges::count_if(chunkEnds, [&](std::size_t end) { return end <= size; });
        const std::vector<std::string> expected(all.begin(), all.begin() + 2 * chunks);
        ASSERT_EQ(reading.messages, expected) << size;
        ASSERT_EQ(reading.problems, std::vector<std::string>()) << size;
        ASSERT_FALSE(result.isClosed) << size;
    }
}

TEST(ReaderTest, WholeRecordingIsClosed)
{
    Reading reading;
    const auto result = mcap::scan(TextSource(recordingOf(6)), reading);
    EXPECT_TRUE(result.isRecording);
    EXPECT_TRUE(result.isClosed);
}

TEST(ReaderTest, WhateverByteIsDamagedWhatIsReadWasWritten)
{
    const std::string whole = recordingOf(4);
    const auto all = readingOf(whole).messages;
    for (std::size_t place = 0; place < whole.size(); ++place)
        for (const char change : {'\x01', '\x80', '\xFF'}) {
            std::string damaged = whole;
            damaged[place] = static_cast<char>(damaged[place] ^ change);
            const Reading reading = readingOf(damaged);
            // A channel's name may be another one; what its messages hold is told by their chunks' checksums.
            for (const std::string& message : reading.messages)
                ASSERT_TRUE(std::ranges::any_of(
                    all, [&](const std::string& one) { return one.substr(1) == message.substr(message.find(" #")); }))
                    << place << ' ' << message;
            const auto summary = mcap::readSummary(TextSource(damaged));
            ASSERT_TRUE(!summary || summary->statistics->messages == 4) << place;
        }
}

TEST(ReaderTest, OtherFileIsNoRecording)
{
    Reading reading;
    EXPECT_FALSE(mcap::scan(TextSource("<?xml version=\"1.0\"?>"), reading).isRecording);
    EXPECT_FALSE(mcap::scan(TextSource(""), reading).isRecording);
    EXPECT_EQ(mcap::readSummary(TextSource("<?xml version=\"1.0\"?>")), std::nullopt);
}

TEST(ReaderTest, DamagedChunkIsToldAndTheOthersAreRead)
{
    std::string text = recordingOf(6, false);
    text[placeOf(text, "data2")] = 'D';
    const Reading reading = readingOf(text);
    EXPECT_EQ(reading.messages.size(), 4U);
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_TRUE(reading.problems[0].ends_with("chunk has a wrong checksum")) << reading.problems[0];
}

TEST(ReaderTest, ChunkThatSaysItIsHugeTakesNoMemory)
{
    const std::string text = recordingOf(2, false);
    const std::string huge("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F", 8);
    const Reading reading = readingOf(with(text, chunkPlace(text) + 9 + 16, huge));
    EXPECT_EQ(reading.messages.size(), 0U);
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_TRUE(reading.problems[0].ends_with("chunk is too large")) << reading.problems[0];
}

TEST(ReaderTest, ChunkThatIsLongerThanItsRecordIsLeftOut)
{
    const std::string text = recordingOf(2, false);
    const Reading reading = readingOf(with(text, chunkPlace(text) + 9 + 32, std::string("\xFF\xFF\xFF\x00", 4)));
    EXPECT_EQ(reading.messages.size(), 0U);
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_TRUE(reading.problems[0].ends_with("chunk ends too early")) << reading.problems[0];
}

TEST(ReaderTest, RecordBehindTheEndOfTheFileEndsTheReading)
{
    const std::string text = recordingOf(2, false);
    const std::string huge("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 8);
    Reading reading;
    const auto result = mcap::scan(TextSource(with(text, chunkPlace(text) + 1, huge)), reading);
    EXPECT_EQ(result.end, chunkPlace(text));
    EXPECT_FALSE(result.isClosed);
    EXPECT_EQ(reading.messages.size(), 0U);
}

TEST(ReaderTest, MessageOfAnUnknownChannelIsLeftOut)
{
    mcap::ByteWriter bytes;
    bytes.raw(mcap::kMagic);
    mcap::write(bytes, mcap::Channel{3, 0, "A", "json", {}});
    mcap::write(bytes, mcap::Message{4, 0, 1, 1, mcap::bytesOf("lost")});
    mcap::write(bytes, mcap::Message{3, 0, 1, 1, mcap::bytesOf("kept")});
    const Reading reading = readingOf({bytes.bytes().begin(), bytes.bytes().end()});
    EXPECT_EQ(reading.messages, std::vector<std::string>{"A #0 1 1 kept"});
    EXPECT_EQ(reading.problems, std::vector<std::string>{"38 message has a channel that is not there"});
}

TEST(ReaderTest, OtherTimesAreLeftOut)
{
    const std::string text = recordingOf(6);
    const std::vector<std::string> expected = {"B #3 1030 903 data3xxxxxxxxxxxxxxxxxxxx",
                                               "A #4 1040 904 data4xxxxxxxxxxxxxxxxxxxx"};
    EXPECT_EQ(readingOf(text, {1030, 1040}).messages, expected);
}

TEST(ReaderTest, ChannelThatStandsInAChunkOfOtherTimesIsKnown)
{
    mcap::ByteWriter first, second;
    mcap::write(first, mcap::Channel{0, 0, "A", "json", {}});
    mcap::write(first, mcap::Message{0, 0, 1, 1, mcap::bytesOf("one")});
    mcap::write(second, mcap::Message{0, 1, 5, 5, mcap::bytesOf("five")});
    ChunksOfOthers recording;
    recording.add(1, 1, first);
    recording.add(5, 5, second);
    const Reading reading = readingOf(recording.text(), {3, 6});
    EXPECT_EQ(reading.messages, std::vector<std::string>{"A #1 5 5 five"});
    EXPECT_EQ(reading.problems, std::vector<std::string>());
}

TEST(ReaderTest, TimesOfMessagesCountAndNotThoseThatTheirChunkTells)
{
    mcap::ByteWriter records;
    mcap::write(records, mcap::Channel{0, 0, "A", "json", {}});
    mcap::write(records, mcap::Message{0, 0, 1, 1, mcap::bytesOf("one")});
    mcap::write(records, mcap::Message{0, 1, 3, 3, mcap::bytesOf("three")});
    ChunksOfOthers recording;
    recording.add(1, 1, records);
    EXPECT_EQ(readingOf(recording.text(), {2, 4}).messages, std::vector<std::string>{"A #1 3 3 three"});
}

TEST(ReaderTest, LengthThatNoChunkOfItsSizeHasTakesNoMemory)
{
    const std::vector<std::uint8_t> bytes = mcap::compressed(mcap::bytesOf("text"));
    try {
        mcap::decompressed(bytes, std::size_t{1} << 30U);
        FAIL();
    } catch (const mcap::Malformed& error) {
        EXPECT_STREQ(error.what(), "is shorter than it says");
    }
    const std::vector<std::uint8_t> zeros(8'000'000);
    EXPECT_EQ(mcap::decompressed(mcap::compressed(zeros), zeros.size()), zeros);
}

TEST(ReaderTest, DamageOfAnyByteIsTold)
{
    const std::string whole = recordingOf(4);
    for (std::size_t place = 8; place < whole.size(); ++place) {
        std::string damaged = whole;
        damaged[place] = static_cast<char>(damaged[place] ^ '\x40');
        Reading reading;
        const auto result = mcap::scan(TextSource(damaged), reading);
        ASSERT_TRUE(!result.isClosed || !reading.problems.empty()) << place;
    }
}

TEST(ReaderTest, DamageOutsideOfChunksIsToldByTheChecksumOfAll)
{
    std::string text = recordingOf(2, false);
    text[placeOf(text, "missed")] = 'M';
    const Reading reading = readingOf(text);
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_TRUE(reading.problems[0].ends_with(" the checksum of all before is wrong")) << reading.problems[0];
}

TEST(ReaderTest, SummaryThatLacksSomethingOrContradictsItselfIsNotComplete)
{
    const auto whole = mcap::readSummary(TextSource(recordingOf(6)));
    ASSERT_TRUE(whole && mcap::isComplete(*whole));
    const auto isComplete = [&](const auto& change) {
        mcap::Summary summary = *whole;
        change(summary);
        return mcap::isComplete(summary);
    };
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { summary.channels.clear(); }));
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { summary.chunks.pop_back(); }));
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { summary.statistics.reset(); }));
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { summary.statistics->messages = 0; }));
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { ++summary.statistics->startTime; }));
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { summary.channels.push_back(summary.channels.front()); }));
    EXPECT_FALSE(isComplete([](mcap::Summary& summary) { summary.channels.front().schema = 4711; }));
}

TEST(ReaderTest, RecordingWithoutASummaryIsClosed)
{
    mcap::ByteWriter bytes;
    bytes.raw(mcap::kMagic);
    mcap::writeFront(bytes, mcap::Op::DataEnd, 4);
    bytes.u32(0);
    mcap::writeFront(bytes, mcap::Op::Footer, 20);
    bytes.u64(0);
    bytes.u64(0);
    bytes.u32(0);
    bytes.raw(mcap::kMagic);
    Reading reading;
    EXPECT_TRUE(mcap::scan(TextSource({bytes.bytes().begin(), bytes.bytes().end()}), reading).isClosed);
    EXPECT_EQ(reading.problems, std::vector<std::string>());
}

TEST(ReaderTest, ScannerGoesOnWhereAnotherStopped)
{
    const TextSource source(recordingOf(6));
    Reading front;
    mcap::Scanner first(source, front);
    while (front.messages.size() < 2) ASSERT_TRUE(first.step());
    const std::uint64_t place = first.result().end;
    const auto summary = mcap::readSummary(source);
    ASSERT_TRUE(summary);
    Reading rest;
    for (const mcap::Channel& channel : summary->channels) rest.topics[channel.id] = channel.topic;
    mcap::Scanner second(source, rest, place, summary->schemas, summary->channels);
    while (second.step()) {
    }
    ASSERT_EQ(rest.messages.size(), 4U);
    EXPECT_EQ(rest.messages.front(), "A #2 1020 902 data2xxxxxxxxxxxxxxxxxxxx");
    EXPECT_EQ(rest.problems, std::vector<std::string>());
}

TEST(ReaderTest, ScannerOfAPlaceTakesAChannelWhoseSchemaStandsInFront)
{
    TextOutput output;
    mcap::Writer writer(output, {"test", 1U << 20, true});
    const auto schema = writer.addSchema("T", "omgidl", "struct T { long x; };");
    const std::uint64_t place = writer.size();
    writer.add({writer.addChannel(schema, "A", "cdr", {}), 0, 1000, 900, mcap::bytesOf("data")});
    writer.close();
    const TextSource source(output.text);
    const mcap::Schema known[] = {{schema, "T", "omgidl", "struct T { long x; };"}};
    Reading reading;
    mcap::Scanner scanner(source, reading, place, known, {});
    while (scanner.step()) {
    }
    EXPECT_EQ(reading.lines, (std::vector<std::string>{"channel A cdr", "A #0 1000 900 data"}));
}

TEST(ReaderTest, ScannerBehindTheEndReadsNothing)
{
    const TextSource source(recordingOf(2));
    Reading reading;
    mcap::Scanner scanner(source, reading, 1ULL << 40U, {}, {});
    EXPECT_FALSE(scanner.step());
}

TEST(FileSourceTest, AFileThatBecameShorterIsNamed)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("x.mcap", recordingOf(6));
    const mcap::FileSource source(path);
    std::filesystem::resize_file(path, 100);
    Reading reading;
    EXPECT_EQ(errorOf([&] { mcap::scan(source, reading); }), path + ": ends too early");
}
