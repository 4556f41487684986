#include "ioss_mcsq/ZentorM_5044_Msg.h"

#include "tests/ioss_mcsq/FrameBytes.h"
#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Warning 6, "HELLO, this warning has 32 chars", field000 -2.5; the header and both checksums are nonsense.
constexpr unsigned char kFrame[] = "\xFF\x81\xB4\x13\x15\x00\x00\x90\x11\x22"
                                   "\x20\xC1\x00\x00\x00\x00\x00\x00"
                                   "\x06\x00"
                                   "EHLL,Ot ih sawnrni gah s23c ahsr"
                                   "\x33\x44";
static_assert(sizeof(kFrame) == 55, "54 bytes and the end of the text");

std::string textOf(const unpacked_msg5044_t& record)
{
    return {record.warningText, sizeof(record.warningText)};
}

}  // namespace

TEST(ZentorM5044Test, NewMessageIsAHeaderWithoutChecksum)
{
    const ZentorM_5044_Msg message;
    Bytes expected(54);
    const Bytes header = {0xFF, 0x81, 0xB4, 0x13, 0x15, 0x00, 0x00, 0x90};
    std::copy(header.begin(), header.end(), expected.begin());
    EXPECT_EQ(frameBytes(message), expected);
    EXPECT_EQ(message.wordCount(), 21u);
    EXPECT_EQ(message.messageId(), 5044);
    const unpacked_msg5044_t zero{};
    EXPECT_EQ(std::memcmp(&message.unpacked(), &zero, 44), 0);
}

TEST(ZentorM5044Test, Takes54BytesOrOneMore)
{
    ZentorM_5044_Msg message;
    EXPECT_FALSE(message.ok_set_5044_gpsip(kFrame, 53));
    EXPECT_TRUE(message.ok_set_5044_gpsip(kFrame, 54));
    EXPECT_TRUE(message.ok_set_5044_gpsip(kFrame, 55));
    EXPECT_FALSE(message.ok_set_5044_gpsip(kFrame, 56));
    EXPECT_EQ(frameBytes(message), Bytes(kFrame, kFrame + 54));
}

TEST(ZentorM5044Test, LengthIsTakenWhole)
{
    ZentorM_5044_Msg message;
    EXPECT_FALSE(message.ok_set_5044_gpsip(kFrame, 65536 + 54));
    EXPECT_FALSE(message.ok_set_5044_gpsip(kFrame, 0xFFFFFFFF));
}

TEST(ZentorM5044Test, FieldsAreConvertedAndTheTextIsInReadingOrder)
{
    ZentorM_5044_Msg message;
    ASSERT_TRUE(message.ok_set_5044_gpsip(kFrame, 54));
    message.unpack_5044();
    EXPECT_EQ(double{message.unpacked().field000}, -2.5);
    EXPECT_EQ(std::uint16_t{message.unpacked().warningNumber}, 6);
    EXPECT_EQ(textOf(message.unpacked()), "HELLO, this warning has 32 chars");
}

TEST(ZentorM5044Test, FirstTextWordHoldsItsFirstCharacterInTheHighByte)
{
    packed_msg5044_t packed{};
    packed.words[10] = 0x4845;  // bytes 0x45, 0x48 on the wire
    unpacked_msg5044_t record{};
    ZentorM_5044_Msg::unpack_5044(packed, record);
    EXPECT_EQ(record.warningText[0], 0x48);
    EXPECT_EQ(record.warningText[1], 0x45);
}

TEST(ZentorM5044Test, NumberIsNotSwapped)
{
    packed_msg5044_t packed{};
    packed.words[9] = 0x1234;
    unpacked_msg5044_t record{};
    ZentorM_5044_Msg::unpack_5044(packed, record);
    EXPECT_EQ(std::uint16_t{record.warningNumber}, 0x1234);
}

TEST(ZentorM5044Test, TextEndsWithZerosWhateverStoodThere)
{
    packed_msg5044_t packed;
    packed.words.fill(0xFFFF);
    unpacked_msg5044_t record;
    std::memset(&record, 0x77, sizeof(record));
    ZentorM_5044_Msg::unpack_5044(packed, record);
    EXPECT_EQ(textOf(record), std::string(32, '\xFF'));
    EXPECT_EQ(record.textEnd[0], 0);
    EXPECT_EQ(record.textEnd[1], 0);
}

TEST(ZentorM5044Test, TextThatFillsItsFieldIsNotReadBeyondIt)
{
    unpacked_msg5044_t record;
    std::memset(&record, 'x', sizeof(record));
    record.textEnd[1] = 0;
    EXPECT_EQ(warningTextOf(record), "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx");
}

TEST(ZentorM5044Test, TextEndsAtItsFirstZero)
{
    unpacked_msg5044_t record{};
    EXPECT_EQ(warningTextOf(record), "");
    std::memcpy(record.warningText, "ANTENNA\0OPEN", 12);
    EXPECT_EQ(warningTextOf(record), "ANTENNA");
}

TEST(ZentorM5044Test, PackingDoesNothing)
{
    ZentorM_5044_Msg message;
    ASSERT_TRUE(message.ok_set_5044_gpsip(kFrame, 54));
    message.pack_5044();
    EXPECT_EQ(frameBytes(message), Bytes(kFrame, kFrame + 54));
    unpacked_msg5044_t record;
    std::memset(&record, 0x77, sizeof(record));
    packed_msg5044_t packed{};
    ZentorM_5044_Msg::pack_5044(record, packed);
    EXPECT_EQ(packed.words, packed_msg5044_t{}.words);
}

TEST(ZentorM5044Test, DebugPrintIsSilent)
{
    const ConsoleCapture output(std::cout);
    ZentorM_5044_Msg message;
    message.debugPrintMessage();
    EXPECT_EQ(output.text(), "");
}
