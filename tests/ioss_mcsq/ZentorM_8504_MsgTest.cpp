#include "ioss_mcsq/ZentorM_8504_Msg.h"

#include "tests/ioss_mcsq/FrameBytes.h"
#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <iostream>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes blockOf(const packed_msg8504_t& packed)
{
    return {packed.data().begin(), packed.data().end()};
}

packed_msg8504_t packedOf(const Bytes& block)
{
    packed_msg8504_t packed{};
    std::copy(block.begin(), block.end(), packed.data().begin());
    return packed;
}

Bytes recordBytes(const unpacked_msg8504_t& record)
{
    Bytes bytes(420);
    std::memcpy(bytes.data(), &record, 420);
    return bytes;
}

/// A block of known numbers: each field its own, words and bytes that tell their offset.
Bytes knownBlock()
{
    Bytes block(400);
    const auto put = [&block](std::size_t offset, const Bytes& bytes) {
        std::copy(bytes.begin(), bytes.end(), block.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    put(0, {0x9A, 0x45, 0x00, 0x50, 0, 0, 0, 0});  // 1234.5
    put(8, {0x80, 0x40, 0, 0, 0, 0, 0, 0});        // 1
    put(16, {0x82, 0, 0, 0, 0, 0x00});             // 2
    put(22, {0x82, 0, 0, 0, 0, 0xC0});             // -3
    put(28, {0x00, 0x41, 0, 0, 0, 0, 0, 0});       // 2
    put(36, {0x20, 0xC1, 0, 0, 0, 0, 0, 0});       // -2.5
    put(44, {0x00, 0x40, 0, 0, 0, 0, 0, 0});       // 0.5
    put(52, {0x80, 0x40, 0, 0});                   // 1
    put(56, {0x00, 0x41, 0, 0});                   // 2
    put(60, {0x40, 0x41, 0, 0});                   // 3
    put(64, {0x80, 0x41, 0, 0});                   // 4
    put(68, {0xA0, 0x41, 0, 0});                   // 5
    put(84, {0x80, 0xC0, 0, 0});                   // -1
    for (std::size_t i = 88; i < 122; ++i) block[i] = static_cast<std::uint8_t>(i);
    put(106, {0, 0, 0, 0});        // reserved
    put(122, {0x82, 0, 0, 0x00});  // 2
    put(126, {0x81, 0, 0, 0x80});  // -1
    block[130] = 130;
    block[131] = 131;
    for (std::size_t i = 144; i < 400; ++i) block[i] = static_cast<std::uint8_t>(i * 7);
    return block;
}

}  // namespace

TEST(ZentorM8504Test, NewMessageIsAHeaderWithoutChecksum)
{
    const ZentorM_8504_Msg message;
    Bytes expected(412);
    const Bytes header = {0xFF, 0x81, 0x38, 0x21, 0xC8, 0x00, 0x00, 0x90};
    std::copy(header.begin(), header.end(), expected.begin());
    EXPECT_EQ(frameBytes(message), expected);
    EXPECT_EQ(recordBytes(message.unpacked()), Bytes(420));
    EXPECT_EQ(message.wordCount(), 200u);
    EXPECT_EQ(message.messageId(), 8504);
}

TEST(ZentorM8504Test, Takes412BytesOrOneMore)
{
    ZentorM_8504_Msg message;
    const Bytes frame(500, 0x11);
    EXPECT_FALSE(message.ok_set_8504_gpsip(frame.data(), 410));
    EXPECT_FALSE(message.ok_set_8504_gpsip(frame.data(), 411));
    EXPECT_EQ(message.frame()[5], 0);
    EXPECT_TRUE(message.ok_set_8504_gpsip(frame.data(), 412));
    EXPECT_TRUE(message.ok_set_8504_gpsip(frame.data(), 413));
    EXPECT_FALSE(message.ok_set_8504_gpsip(frame.data(), 414));
    EXPECT_FALSE(message.ok_set_8504_gpsip(frame.data(), 65536 + 412)) << "the length is taken whole";
    EXPECT_EQ(frameBytes(message), Bytes(412, 0x11));
}

TEST(ZentorM8504Test, ZerosUnpackToZeros)
{
    ZentorM_8504_Msg message;
    std::memset(&message.unpacked(), 0, 420);
    message.unpack_8504();
    EXPECT_EQ(recordBytes(message.unpacked()), Bytes(420));
}

TEST(ZentorM8504Test, EveryFieldIsConvertedFromItsPlace)
{
    unpacked_msg8504_t record{};
    ZentorM_8504_Msg::unpack_8504(packedOf(knownBlock()), record);
    EXPECT_EQ(double{record.field000}, 1234.5);
    EXPECT_EQ(double{record.field008}, 1.0);
    EXPECT_EQ(double{record.field016}, 2.0);
    EXPECT_EQ(double{record.field022}, -3.0);
    EXPECT_EQ(double{record.field028}, 2.0);
    EXPECT_EQ(double{record.field036}, -2.5);
    EXPECT_EQ(double{record.field044}, 0.5);
    EXPECT_EQ(float{record.field052}, 1.0F);
    EXPECT_EQ(float{record.field056}, 2.0F);
    EXPECT_EQ(float{record.field060}, 3.0F);
    EXPECT_EQ(float{record.field064}, 4.0F);
    EXPECT_EQ(float{record.field068}, 5.0F);
    EXPECT_EQ(float{record.angle084}, -1.0F);
    EXPECT_EQ(float{record.field122}, 2.0F);
    EXPECT_EQ(float{record.field126}, -1.0F);
    EXPECT_EQ(double{record.wholePart}, 1234.0);
    EXPECT_EQ(double{record.fractionPart}, 0.5);
}

TEST(ZentorM8504Test, WordsAndBytesAreCopied)
{
    unpacked_msg8504_t record{};
    ZentorM_8504_Msg::unpack_8504(packedOf(knownBlock()), record);
    EXPECT_EQ(std::uint16_t{record.word088}, 89 * 256 + 88);
    EXPECT_EQ(std::uint16_t{record.word090}, 91 * 256 + 90);
    EXPECT_EQ(std::uint16_t{record.word092}, 93 * 256 + 92);
    EXPECT_EQ(std::uint16_t{record.word094}, 95 * 256 + 94);
    EXPECT_EQ(record.status096, 96);
    EXPECT_EQ(record.status097, 97);
    EXPECT_EQ(std::uint16_t{record.word098}, 99 * 256 + 98);
    EXPECT_EQ(record.byte100, 100);
    EXPECT_EQ(record.status101, 101);
    EXPECT_EQ(record.nibbles102, 102);
    EXPECT_EQ(record.nibbles103, 103);
    EXPECT_EQ(record.nibbles104, 104);
    EXPECT_EQ(record.nibbles105, 105);
    EXPECT_EQ(std::uint16_t{record.word110}, 111 * 256 + 110);
    EXPECT_EQ(std::uint16_t{record.word112}, 113 * 256 + 112);
    EXPECT_EQ(std::uint16_t{record.word114}, 115 * 256 + 114);
    EXPECT_EQ(record.byte116, 116);
    EXPECT_EQ(record.status117, 117);
    EXPECT_EQ(record.status118, 118);
    EXPECT_EQ(record.byte119, 119);
    EXPECT_EQ(record.status120, 120);
    EXPECT_EQ(record.byte121, 121);
    EXPECT_EQ(record.byte130, 130);
    EXPECT_EQ(record.byte131, 131);
    for (std::size_t i = 0; i < 256; ++i) ASSERT_EQ(record.block144[i], static_cast<std::uint8_t>((144 + i) * 7));
}

TEST(ZentorM8504Test, RecordHasTheWireBytesFromItsFirstWordToTheLastStatus)
{
    Bytes block(400);
    std::mt19937 random(3);
    for (std::uint8_t& byte : block) byte = static_cast<std::uint8_t>(random());
    unpacked_msg8504_t record{};
    ZentorM_8504_Msg::unpack_8504(packedOf(block), record);
    const Bytes bytes = recordBytes(record);
    for (std::size_t i = 88; i < 122; ++i) {
        if (i >= 106 && i < 110) continue;
        EXPECT_EQ(bytes[i + 4], block[i]) << i;
    }
    EXPECT_EQ(bytes[134], block[130]);
    EXPECT_EQ(bytes[135], block[131]);
}

TEST(ZentorM8504Test, BitGroupsCoverTheirBytes)
{
    unpacked_msg8504_t record{};
    ZentorM_8504_Msg::unpack_8504(packedOf([] {
                                      Bytes block(400);
                                      block[96] = 0b10'0'1'0110;
                                      block[97] = 0b101100'01;
                                      block[101] = 0b10011'1'0'1;
                                      block[102] = 0xA5;
                                      block[117] = 0b1'01'10'11'0;
                                      block[118] = 0b01101'010;
                                      block[120] = 0b11000'1'01;
                                      return block;
                                  }()),
                                  record);
    using namespace msg8504;
    EXPECT_EQ(bitsOf(record.status096, kStatus096Bits0To3), 0b0110);
    EXPECT_EQ(bitsOf(record.status096, kStatus096ReceiverFailure), 1);
    EXPECT_EQ(bitsOf(record.status096, kStatus096Bit5), 0);
    EXPECT_EQ(bitsOf(record.status096, kStatus096Bits6To7), 0b10);
    EXPECT_EQ(bitsOf(record.status097, kStatus097Bits0To1), 0b01);
    EXPECT_EQ(bitsOf(record.status097, kStatus097Bits2To7), 0b101100);
    EXPECT_EQ(bitsOf(record.status101, kStatus101Bit0), 1);
    EXPECT_EQ(bitsOf(record.status101, kStatus101Bit1), 0);
    EXPECT_EQ(bitsOf(record.status101, kStatus101Bit2), 1);
    EXPECT_EQ(bitsOf(record.status101, kStatus101Bits3To7), 0b10011);
    EXPECT_EQ(bitsOf(record.nibbles102, kLowNibble), 5);
    EXPECT_EQ(bitsOf(record.nibbles102, kHighNibble), 10);
    EXPECT_EQ(bitsOf(record.status117, kStatus117Bit0), 0);
    EXPECT_EQ(bitsOf(record.status117, kStatus117Bits1To2), 0b11);
    EXPECT_EQ(bitsOf(record.status117, kStatus117Bits3To4), 0b10);
    EXPECT_EQ(bitsOf(record.status117, kStatus117Bits5To6), 0b01);
    EXPECT_EQ(bitsOf(record.status117, kStatus117Bit7), 1);
    EXPECT_EQ(bitsOf(record.status118, kStatus118Bits0To2), 0b010);
    EXPECT_EQ(bitsOf(record.status118, kStatus118Bits3To7), 0b01101);
    EXPECT_EQ(bitsOf(record.status120, kStatus120Bits0To1), 0b01);
    EXPECT_EQ(bitsOf(record.status120, kStatus120Bit2), 1);
    EXPECT_EQ(bitsOf(record.status120, kStatus120Bits3To7), 0b11000);
}

TEST(ZentorM8504Test, ReservedBytesOfTheRecordStay)
{
    unpacked_msg8504_t record;
    std::memset(&record, 0x77, sizeof(record));
    ZentorM_8504_Msg::unpack_8504(packedOf(Bytes(400, 0xFF)), record);
    const Bytes bytes = recordBytes(record);
    for (std::size_t i = 76; i < 88; ++i) EXPECT_EQ(bytes[i], 0x77) << i;
    for (std::size_t i = 110; i < 114; ++i) EXPECT_EQ(bytes[i], 0x77) << i;
    for (std::size_t i = 136; i < 148; ++i) EXPECT_EQ(bytes[i], 0x77) << i;
}

TEST(ZentorM8504Test, SplitUsesTheBitsThatTheDoubleLost)
{
    Bytes block(400);
    block[0] = 0x80;  // 2^52 + 0.125
    block[1] = 0x5A;
    block[6] = 0x01;
    unpacked_msg8504_t record{};
    ZentorM_8504_Msg::unpack_8504(packedOf(block), record);
    EXPECT_EQ(double{record.field000}, 4503599627370496.0);
    EXPECT_EQ(double{record.wholePart}, 4503599627370496.0);
    EXPECT_EQ(double{record.fractionPart}, 0.125);
}

TEST(ZentorM8504Test, KnownBlockComesBackWhole)
{
    ZentorM_8504_Msg message;
    unpacked_msg8504_t record{};
    ZentorM_8504_Msg::unpack_8504(packedOf(knownBlock()), record);
    packed_msg8504_t packed{};
    ZentorM_8504_Msg::pack_8504(record, packed);
    EXPECT_EQ(blockOf(packed), knownBlock());
}

TEST(ZentorM8504Test, PackingKeepsReservedBytesHeaderAndChecksums)
{
    packed_msg8504_t packed;
    packed.words.fill(0x7777);
    ZentorM_8504_Msg::pack_8504(unpacked_msg8504_t{}, packed);
    const Bytes block = blockOf(packed);
    for (std::size_t i = 0; i < 400; ++i) {
        const bool reserved = (i >= 72 && i < 84) || (i >= 106 && i < 110) || (i >= 132 && i < 144);
        ASSERT_EQ(block[i], reserved ? 0x77 : 0) << i;
    }
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(packed.words[i], 0x7777);
    EXPECT_EQ(packed.words[205], 0x7777);
}

TEST(ZentorM8504Test, WholeAndFractionTakeNoPartInPacking)
{
    unpacked_msg8504_t record{};
    record.wholePart = 5.0;
    record.fractionPart = 0.25;
    packed_msg8504_t packed{};
    ZentorM_8504_Msg::pack_8504(record, packed);
    EXPECT_EQ(blockOf(packed), Bytes(400));
}

TEST(ZentorM8504Test, ValuesBeyondAFormatComeBackChanged)
{
    unpacked_msg8504_t record{};
    record.field008 = 1e40;
    record.field016 = -1e40;
    record.angle084 = std::numeric_limits<float>::infinity();
    record.field036 = 1e-40;
    packed_msg8504_t packed{};
    ZentorM_8504_Msg::pack_8504(record, packed);
    ZentorM_8504_Msg::unpack_8504(packed, record);
    EXPECT_EQ(double{record.field008}, std::nextafter(std::ldexp(1.0, 127), 0.0));
    EXPECT_EQ(double{record.field016}, -std::ldexp(double((std::int64_t{1} << 40) - 1), 87));
    EXPECT_EQ(float{record.angle084}, std::nextafter(std::ldexp(1.0F, 127), 0.0F));
    EXPECT_EQ(double{record.field036}, 0.0);
}

TEST(ZentorM8504Test, AnyBytesThatAreCopiedComeBack)
{
    std::mt19937 random(11);
    for (int turn = 0; turn < 200; ++turn) {
        Bytes block(400);
        for (std::uint8_t& byte : block) byte = static_cast<std::uint8_t>(random());
        unpacked_msg8504_t record{};
        ZentorM_8504_Msg::unpack_8504(packedOf(block), record);
        packed_msg8504_t packed = packedOf(Bytes(400));
        ZentorM_8504_Msg::pack_8504(record, packed);
        const Bytes back = blockOf(packed);
        for (std::size_t i = 88; i < 122; ++i) {
            if (i >= 106 && i < 110) continue;
            ASSERT_EQ(back[i], block[i]) << i;
        }
        ASSERT_EQ(back[130], block[130]);
        ASSERT_EQ(back[131], block[131]);
        ASSERT_TRUE(std::equal(block.begin() + 144, block.end(), back.begin() + 144));
    }
}

TEST(ZentorM8504Test, OwnFrameAndRecordArePackedAndUnpacked)
{
    ZentorM_8504_Msg message;
    Bytes frame(412);
    const Bytes block = knownBlock();
    std::copy(block.begin(), block.end(), frame.begin() + 10);
    ASSERT_TRUE(message.ok_set_8504_gpsip(frame.data(), 412));
    message.unpack_8504();
    EXPECT_EQ(double{message.unpacked().field036}, -2.5);
    message.unpacked().field036 = -3.0;
    message.pack_8504();
    EXPECT_EQ(frameBytes(message)[10 + 36], 0x40);
    EXPECT_EQ(frameBytes(message)[10 + 37], 0xC1);
}

TEST(ZentorM8504Test, ReceiverFailureFollowsItsBitInTheFrame)
{
    for (unsigned value = 0; value < 256; ++value) {
        Bytes frame(412, static_cast<std::uint8_t>(value % 2 * 0xFF));
        frame[106] = static_cast<std::uint8_t>(value);
        ZentorM_8504_Msg message;
        ASSERT_TRUE(message.ok_set_8504_gpsip(frame.data(), 412));
        ASSERT_EQ(message.recieverFailureDetected(), value / 16 % 2 == 1) << value;
    }
}

TEST(ZentorM8504Test, ReceiverFailureIsNotReadFromTheRecord)
{
    ZentorM_8504_Msg message;
    message.unpacked().status096 = 0xFF;
    EXPECT_FALSE(message.recieverFailureDetected());
}

TEST(ZentorM8504Test, CopyTakesFrameAndRecordAndNothingElse)
{
    ZentorM_8504_Msg from;
    const Bytes frame(412, 0x11);
    ASSERT_TRUE(from.ok_set_8504_gpsip(frame.data(), 412));
    std::memset(&from.unpacked(), 0x22, 420);
    from.set_gpsip_wdcnt(3);
    ZentorM_8504_Msg to;
    to.copy_all(from);
    EXPECT_EQ(frameBytes(to), frameBytes(from));
    EXPECT_EQ(recordBytes(to.unpacked()), Bytes(420, 0x22));
    EXPECT_EQ(to.wordCount(), 200u);
    to.copy_all(to);
    EXPECT_EQ(frameBytes(to), frameBytes(from));
    EXPECT_EQ(to.frame().data(), to.packed().words.data()) << "it still points into itself";
}

TEST(ZentorM8504Test, DebugPrintIsSilent)
{
    const ConsoleCapture output(std::cout);
    ZentorM_8504_Msg message;
    message.debugPrintMessage();
    EXPECT_EQ(output.text(), "");
}
