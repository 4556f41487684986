#include "lab/ctl/StreamCutter.h"

#include "tests/lab/ctl/RecordingSink.h"
#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace samples;
using orvanectl::StreamCutter;
using orvanectl::StreamFormat;
using Lines = std::vector<std::string>;

namespace {

Lines found(const std::string& stream, StreamFormat format = StreamFormat::Auto, std::size_t piece = 1 << 20)
{
    RecordingSink sink;
    StreamCutter cutter(format, sink);
    for (std::size_t i = 0; i < stream.size(); i += piece) cutter.take(bytesOf(stream.substr(i, piece)));
    cutter.end();
    return sink.lines;
}

}  // namespace

TEST(StreamCutterTest, RecordsFollowOneAnotherInBothByteOrders)
{
    EXPECT_EQ(found(kWarningRecord + kAckRecord + kWarningRecord),
              Lines({"0 record of 54", "110 record of 10", "176 record of 54"}));
}

TEST(StreamCutterTest, FramesFollowOneAnother)
{
    EXPECT_EQ(found(kWarning + kAck + kUnknown), Lines({"0 frame of 54", "54 frame of 10", "64 frame of 18"}));
}

TEST(StreamCutterTest, PiecesOfAnySizeMakeNoDifference)
{
    const std::string frames = kWarning.substr(0, 30) + report() + "garbage" + kAck + threats();
    const std::string records = kWarningRecord + kAckRecord + kWarningRecord.substr(0, 70);
    for (const std::size_t piece : {1u, 2u, 3u, 9u, 64u}) {
        EXPECT_EQ(found(frames, StreamFormat::Auto, piece), found(frames)) << piece;
        EXPECT_EQ(found(records, StreamFormat::Auto, piece), found(records)) << piece;
    }
    EXPECT_EQ(found(frames).size(), 7u);
    EXPECT_EQ(found(records).size(), 3u);
}

TEST(StreamCutterTest, FrameIsGivenOnWithItsLastByte)
{
    RecordingSink sink;
    StreamCutter cutter(StreamFormat::Auto, sink);
    cutter.take(bytesOf(kWarning.substr(0, 53)));
    EXPECT_EQ(sink.lines, Lines());
    cutter.take(bytesOf(kWarning.substr(53)));
    EXPECT_EQ(sink.lines, Lines({"0 frame of 54"}));
}

TEST(StreamCutterTest, RecordIsGivenOnWithItsLastByte)
{
    RecordingSink sink;
    StreamCutter cutter(StreamFormat::Auto, sink);
    cutter.take(bytesOf(kWarningRecord.substr(0, 109)));
    EXPECT_EQ(sink.lines, Lines());
    cutter.take(bytesOf(kWarningRecord.substr(109)));
    EXPECT_EQ(sink.lines, Lines({"0 record of 54"}));
}

TEST(StreamCutterTest, EmptyStreamHoldsNothing)
{
    for (const StreamFormat format : {StreamFormat::Auto, StreamFormat::Records, StreamFormat::Frames})
        EXPECT_EQ(found("", format), Lines());
}

TEST(StreamCutterTest, StreamOfNeitherFormatIsNotLookedAt)
{
    EXPECT_EQ(found("hello" + kAck),
              Lines({"0 neither a record (00 00 or 00 01) nor a frame (FF 81) begins here: bytes 68 65"}));
    EXPECT_EQ(found("h"), Lines({"0 neither a record (00 00 or 00 01) nor a frame (FF 81) begins here: byte 68"}));
}

TEST(StreamCutterTest, ForcedFormatHoldsWhateverTheStreamBeginsWith)
{
    EXPECT_EQ(found("hello" + kAck, StreamFormat::Frames),
              Lines({"0 no frame begins here: bytes 68 65", "5 resumed after 5", "5 frame of 10"}));
    EXPECT_EQ(found(kAck, StreamFormat::Records), Lines({"0 no record begins here: bytes FF 81"}));
}

TEST(StreamCutterTest, CutRecordIsTold)
{
    EXPECT_EQ(found(kWarningRecord.substr(0, 1)), Lines({"0 record cut short: 1 bytes of at least 56"}));
    EXPECT_EQ(found(kAckRecord + kWarningRecord.substr(0, 55)),
              Lines({"0 record of 10", "66 record cut short: 55 bytes of at least 56"}));
    EXPECT_EQ(found(kWarningRecord.substr(0, 109)), Lines({"0 record cut short: 109 of 110 bytes"}));
}

TEST(StreamCutterTest, RecordsEndWhereNoneCanBegin)
{
    RecordingSink sink;
    StreamCutter cutter(StreamFormat::Auto, sink);
    cutter.take(bytesOf(kAckRecord + "\x00\x02"s + kAckRecord));
    EXPECT_TRUE(cutter.stopped());
    EXPECT_EQ(sink.lines, Lines({"0 record of 10", "66 no record begins here: bytes 00 02"}));
}

TEST(StreamCutterTest, ImpossibleNumBytesEndsTheRecords)
{
    EXPECT_EQ(found(with(kWarningRecord, 48, "\xFF\xFF\xFF\xFF"s)),
              Lines({"0 num_bytes of the record is negative: -1"}));
    EXPECT_EQ(found(with(kWarningRecord, 48, "\x0B\x00\x02\x00"s)),
              Lines({"0 num_bytes of the record is 131083, the largest frame has 131082"}));
}

TEST(StreamCutterTest, LargestFrameFitsIntoARecord)
{
    const std::string front = kRecordFront.substr(0, 48) + "\x0A\x00\x02\x00\x0A\x00\x02\x00"s;
    EXPECT_EQ(found(front + std::string(131082, 'x') + kAckRecord),
              Lines({"0 record of 131082", "131138 record of 10"}));
}

TEST(StreamCutterTest, RecordWithAnotherCountIsLeftOutAndTheNextOneFound)
{
    EXPECT_EQ(found(with(kWarningRecord, 52, "\xFF\xFF\xFF\xFF"s) + kAckRecord),
              Lines({"0 num_bytes of the record is 54, its data count 4294967295", "110 record of 10"}));
}

TEST(StreamCutterTest, BadHeaderChecksumLosesTheFrame)
{
    EXPECT_EQ(found(with(kWarning, 8, "\x39"s) + kAck),
              Lines({"0 bad header checksum: 0xDA39 instead of 0xDA38", "54 resumed after 54", "54 frame of 10"}));
}

TEST(StreamCutterTest, FrameWithBadDataIsGivenOn)
{
    EXPECT_EQ(found(with(kUnknown, 10, "\x07"s) + kAck), Lines({"0 frame of 18", "18 frame of 10"}));
}

TEST(StreamCutterTest, FrameBrokenOffByAnotherLosesOnlyItself)
{
    EXPECT_EQ(found(kWarning.substr(0, 30) + kUnknown + kUnknown),
              Lines({"0 frame of 54 bytes broken off after 30, where another one begins", "30 resumed after 30",
                     "30 frame of 18", "48 frame of 18"}));
}

TEST(StreamCutterTest, HeaderWithinRightDataIsNoFrame)
{
    const std::string frame = "\xFF\x81\x4D\x00\x05\x00\x00\x80\xAF\xFD"s + kAck + "\x00\x00"s;
    EXPECT_EQ(found(frame), Lines({"0 frame of 22"}));
}

TEST(StreamCutterTest, CutFrameAtTheEndDoesNotHideTheOnesWithin)
{
    EXPECT_EQ(found(kWarning.substr(0, 12) + kAck),
              Lines({"0 frame cut short: 22 of 54 bytes", "12 resumed after 12", "12 frame of 10"}));
    EXPECT_EQ(found(kWarning.substr(0, 9)), Lines({"0 header cut short: 9 of 10 bytes"}));
    EXPECT_EQ(found("\xFF"s), Lines({"0 header cut short: 1 of 10 bytes"}));
}

TEST(StreamCutterTest, SearchPassesDelimitersThatBeginNoHeader)
{
    EXPECT_EQ(found("\xFF\xFF\x81\xFF\x81 no header"s + kAck, StreamFormat::Frames),
              Lines({"0 no frame begins here: bytes FF FF", "15 resumed after 15", "15 frame of 10"}));
}

TEST(StreamCutterTest, CutHeaderAtTheEndIsSearchedForTheLastTime)
{
    EXPECT_EQ(found("xx" + kAck.substr(0, 9), StreamFormat::Frames), Lines({"0 no frame begins here: bytes 78 78"}));
}

TEST(StreamCutterTest, FrameThatLostItsEndDoesNotTakeTheNextOneWithIt)
{
    EXPECT_EQ(found(kWarning.substr(0, 50) + kWarning + kAck),
              Lines({"0 frame of 54 bytes broken off after 50, where another one begins", "50 resumed after 50",
                     "50 frame of 54", "104 frame of 10"}));
}
