#include "lab/ctl/DecodeReport.h"
#include "tests/lab/ctl/RecordingSink.h"
#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>

using namespace samples;
using orvanectl::DecodeReport;
using orvanectl::Json;
using orvanectl::StreamCutter;
using orvanectl::StreamFormat;

namespace {

/// Decodes in both styles; every line of the JSON must be JSON. True if all was well.
bool decodes(const std::string& stream, StreamFormat format = StreamFormat::Auto)
{
    bool clean = true;
    for (const bool json : {false, true}) {
        std::ostringstream output, problems;
        DecodeReport report(output, problems, "input", {.json = json, .colour = true});
        StreamCutter cutter(format, report);
        cutter.take(bytesOf(stream));
        cutter.end();
        clean = report.isClean();
        EXPECT_EQ(clean, problems.str().empty());
        std::istringstream lines(output.str());
        for (std::string line; json && std::getline(lines, line);) EXPECT_TRUE(Json::accept(line)) << line;
    }
    return clean;
}

std::string randomBytes(std::mt19937& generator, std::size_t size)
{
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(generator() & 0xFFu);
    return bytes;
}

}  // namespace

TEST(HostileStreamsTest, EveryTruncationIsAProblemButAtTheEndOfAFrame)
{
    const std::string frames = kWarning + kAck + threats() + kUnknown + report();
    for (std::size_t size = 0; size < frames.size(); ++size) {
        const bool whole = size == 0 || size == 54 || size == 64 || size == 276 || size == 294;
        EXPECT_EQ(decodes(frames.substr(0, size)), whole) << size;
    }
}

TEST(HostileStreamsTest, EveryTruncationIsAProblemButAtTheEndOfARecord)
{
    const std::string records = kWarningRecord + kAckRecord + kWarningRecord;
    for (std::size_t size = 0; size < records.size(); ++size)
        EXPECT_EQ(decodes(records.substr(0, size)), size == 0 || size == 110 || size == 176) << size;
}

TEST(HostileStreamsTest, EveryTruncatedFrameInAWholeRecordIsDecodedAsFarAsItGoes)
{
    for (std::size_t size = 0; size < 54; ++size) {
        const char count = static_cast<char>(size);
        std::string front = with(kRecordFront, 48, std::string(1, count));
        front = with(front, 52, std::string(1, count));
        EXPECT_FALSE(decodes(front + kWarning.substr(0, size))) << size;
    }
}

TEST(HostileStreamsTest, EveryBitOfAFrameMatters)
{
    const std::string frames = kWarning + threats();
    for (std::size_t bit = 0; bit < 8 * frames.size(); ++bit) {
        std::string changed = frames;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
        EXPECT_FALSE(decodes(changed, StreamFormat::Frames)) << bit;
    }
}

TEST(HostileStreamsTest, ChangedRecordsAreDecodedOrReported)
{
    std::mt19937 generator(1);
    for (int i = 0; i < 3000; ++i) {
        std::string records = kWarningRecord + kAckRecord;
        for (int change = 0; change < 3; ++change)
            records[generator() % records.size()] = static_cast<char>(generator() & 0xFFu);
        decodes(records, StreamFormat::Records);
    }
}

TEST(HostileStreamsTest, RandomBytesAreReported)
{
    std::mt19937 generator(2);
    for (int i = 0; i < 300; ++i) {
        const std::string bytes = randomBytes(generator, 1 + generator() % 5000);
        EXPECT_FALSE(decodes(bytes, StreamFormat::Frames));
        EXPECT_FALSE(decodes(bytes, StreamFormat::Records));
        EXPECT_FALSE(decodes("\xFF\x81"s + bytes));
    }
}

TEST(HostileStreamsTest, RandomDataWithRightFrontsAreDecoded)
{
    std::mt19937 generator(3);
    for (int i = 0; i < 300; ++i) {
        decodes(report().substr(0, 10) + randomBytes(generator, 402));
        decodes(threats().substr(0, 10) + randomBytes(generator, 202));
        decodes(kRecordFront + kWarning.substr(0, 10) + randomBytes(generator, 44));
    }
}

TEST(HostileStreamsTest, HeadersThatTellOfManyWordsOneBehindTheOtherAreEachOnlyLookedAtOnce)
{
    // Summing 65536 words for each would take minutes.
    constexpr std::size_t kHeaders = 60'000;
    const std::string header = "\xFF\x81\x4D\x00\xFF\xFF\x00\x80\xB5\xFD"s;
    std::string stream;
    for (std::size_t i = 0; i < kHeaders; ++i) stream += header;
    for (const std::size_t piece : {stream.size(), std::size_t{10'000}}) {
        RecordingSink sink;
        StreamCutter cutter(StreamFormat::Frames, sink);
        for (std::size_t at = 0; at < stream.size(); at += piece) cutter.take(bytesOf(stream.substr(at, piece)));
        cutter.end();
        ASSERT_EQ(sink.lines.size(), 2 * kHeaders - 1);  // a problem for each, and found again but for the first
        EXPECT_EQ(sink.lines[0], "0 frame of 131082 bytes broken off after 10, where another one begins");
        EXPECT_EQ(sink.lines[1], "10 resumed after 10");
    }
}
