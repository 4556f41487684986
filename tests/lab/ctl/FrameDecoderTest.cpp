#include "lab/ctl/FrameDecoder.h"

#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace samples;
using orvanectl::DecodedFrame;
using orvanectl::Json;
using Texts = std::vector<std::string>;

namespace {

DecodedFrame decoded(const std::string& frame)
{
    return orvanectl::decodeFrame(bytesOf(frame));
}

Json messageOf(const std::string& frame)
{
    return decoded(frame).fields.at("message");
}

}  // namespace

TEST(FrameDecoderTest, HeaderIsNamed)
{
    const DecodedFrame frame = decoded(kWarning);
    EXPECT_EQ(frame.fields.at("frame").dump(),
              R"({"delimiter":"0x81FF","message_id":5044,"word_count":21,"flags":"0x9000",)"
              R"("header_checksum":"good","data_checksum":"good"})");
    EXPECT_EQ(frame.problems, Texts());
}

TEST(FrameDecoderTest, WarningHasItsThreeFields)
{
    EXPECT_EQ(messageOf(kWarning).dump(),
              R"({"field000":-2.5,"warningNumber":6,"warningText":"HELLO, this warning has 32 chars"})");
}

TEST(FrameDecoderTest, WarningTextIsMadePrintable)
{
    EXPECT_EQ(messageOf(kOddWarning).at("warningText"), R"(\\\x1B\xC3)");
    EXPECT_EQ(decoded(kOddWarning).problems, Texts());
}

TEST(FrameDecoderTest, PrintableKeepsZeroBytesWithinAndCutsThoseBehind)
{
    EXPECT_EQ(orvanectl::printable("a\0b~\x7F\0\0"s), R"(a\x00b~\x7F)");
    EXPECT_EQ(orvanectl::printable("\0\0"s), "");
}

TEST(FrameDecoderTest, ReportHasItsNumbers)
{
    const Json message = messageOf(report());
    EXPECT_EQ(message.at("field000"), 1234.5);
    EXPECT_EQ(message.at("wholePart"), 1234.0);
    EXPECT_EQ(message.at("fractionPart"), 0.5);
    EXPECT_EQ(message.at("angle084"), 1.5707963705062866);
    EXPECT_NEAR(message.at("angle084_degrees").get<double>(), 90.0000025, 1e-8);
    EXPECT_EQ(message.at("word088"), 0x1234);
    EXPECT_EQ(message.at("byte100"), 0xC8);
}

TEST(FrameDecoderTest, ReportHasItsStatusBitsByGroup)
{
    const Json message = messageOf(report());
    EXPECT_EQ(message.at("status096").dump(), R"({"bits0_3":5,"receiver_failure":1,"bit5":1,"bits6_7":2})");
    EXPECT_EQ(message.at("status097").dump(), R"({"bits0_1":2,"bits2_7":1})");
    EXPECT_EQ(message.at("status101").dump(), R"({"bit0":0,"bit1":0,"bit2":1,"bits3_7":1})");
    EXPECT_EQ(message.at("nibbles102").dump(), R"({"low":7,"high":10})");
    EXPECT_EQ(message.at("status117").dump(), R"({"bit0":1,"bits1_2":1,"bits3_4":3,"bits5_6":2,"bit7":1})");
    EXPECT_EQ(message.at("status118").dump(), R"({"bits0_2":5,"bits3_7":5})");
    EXPECT_EQ(message.at("status120").dump(), R"({"bits0_1":2,"bit2":1,"bits3_7":7})");
}

TEST(FrameDecoderTest, ReportHasEveryFieldInTheOrderOfTheWire)
{
    const Json message = messageOf(report());
    Texts names;
    for (const auto& [name, value] : message.items()) names.push_back(name);
    EXPECT_EQ(names, Texts({"field000",  "wholePart",  "fractionPart", "field008",         "field016",   "field022",
                            "field028",  "field036",   "field044",     "field052",         "field056",   "field060",
                            "field064",  "field068",   "angle084",     "angle084_degrees", "word088",    "word090",
                            "word092",   "word094",    "status096",    "status097",        "word098",    "byte100",
                            "status101", "nibbles102", "nibbles103",   "nibbles104",       "nibbles105", "word110",
                            "word112",   "word114",    "byte116",      "status117",        "status118",  "byte119",
                            "status120", "byte121",    "field122",     "field126",         "byte130",    "byte131",
                            "block144"}));
}

TEST(FrameDecoderTest, ReportHasItsBlockInHex)
{
    EXPECT_EQ(messageOf(report()).at("block144"), "EE" + std::string(508, '0') + "01");
}

TEST(FrameDecoderTest, ChecksumOfALargeMessageIsVerified)
{
    EXPECT_EQ(decoded(report()).fields.at("frame").at("data_checksum"), "good");
    const DecodedFrame bad = decoded(with(report(), 300, "\x01"s));
    EXPECT_EQ(bad.fields.at("frame").at("data_checksum"), "bad");
    EXPECT_EQ(bad.problems, Texts({"bad data checksum: 0x1611 instead of 0x1610"}));
    EXPECT_TRUE(bad.fields.contains("message"));
}

TEST(FrameDecoderTest, ThreatReportHasItsPosition)
{
    const Json message = messageOf(threats());
    EXPECT_EQ(message.at("gpsTime"), 345600.25);
    EXPECT_EQ(message.at("lat"), 0.5);
    EXPECT_EQ(message.at("lon"), -1.25);
    EXPECT_EQ(message.at("alt"), 100.0);
    EXPECT_EQ(message.at("Pos_Accuracy"), 12);
}

TEST(FrameDecoderTest, ThreatsInUseHaveTheirFlagsAndScaledValues)
{
    const Json entries = messageOf(threats()).at("threats");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].dump(),
              R"({"index":0,"reported":true,"state":2,"bearing_valid":true,"Power_valid":true,"BW_valid":true,)"
              R"("confidence_valid":true,"Az_degrees":-45,"El_degrees":10,"Center_hz":1575400000.0,)"
              R"("BW_hz":20000000.0,"Power":-70,"confidence":100})");
    EXPECT_EQ(entries[1].dump(),
              R"({"index":3,"reported":true,"state":2,"bearing_valid":true,"Power_valid":false,"BW_valid":false,)"
              R"("confidence_valid":false,"Az_degrees":540,"El_degrees":-91,"Center_hz":100000.0,)"
              R"("BW_hz":33000000.0,"Power":null,"confidence":null})");
}

TEST(FrameDecoderTest, UnknownMessageIsItsWords)
{
    const DecodedFrame frame = decoded(kUnknown);
    EXPECT_EQ(frame.fields.at("words").dump(), R"(["0001","8002","ABCD"])");
    EXPECT_FALSE(frame.fields.contains("message"));
    EXPECT_EQ(frame.problems, Texts());
}

TEST(FrameDecoderTest, AcknowledgementIsNamedAndHasNoDataChecksum)
{
    const DecodedFrame frame = decoded(kAck);
    EXPECT_EQ(frame.fields.at("frame").at("kind"), "acknowledgement");
    EXPECT_EQ(frame.fields.at("frame").at("data_checksum"), "absent");
    EXPECT_EQ(frame.fields.size(), 1u);
    EXPECT_EQ(frame.problems, Texts());
}

TEST(FrameDecoderTest, NegativeAcknowledgementIsNamed)
{
    EXPECT_EQ(decoded("\xFF\x81\x38\x21\x00\x00\x00\x84\xC9\xD8"s).fields.at("frame").at("kind"),
              "negative acknowledgement");
}

TEST(FrameDecoderTest, WrongHeaderIsToldAndDecodedNevertheless)
{
    const DecodedFrame frame = decoded(with(kWarning, 0, "\xFE\x81"s));
    EXPECT_EQ(frame.fields.at("frame").at("header_checksum"), "bad");
    EXPECT_EQ(frame.problems,
              Texts({"delimiter 0x81FE instead of 0x81FF", "bad header checksum: 0xDA38 instead of 0xDA39"}));
    EXPECT_EQ(frame.fields.at("message").at("warningNumber"), 6);
}

TEST(FrameDecoderTest, OddByteBehindAMessageIsToldAndItIsDecodedNevertheless)
{
    const DecodedFrame frame = decoded(kWarning + "x");
    EXPECT_EQ(frame.problems, Texts({"frame of 55 bytes, its word count makes 54"}));
    EXPECT_EQ(frame.fields.at("frame").at("data_checksum"), "good");
    EXPECT_EQ(frame.fields.at("message").at("warningNumber"), 6);
}

TEST(FrameDecoderTest, CutFrameHasNoDataChecksumAndTheWordsThatAreThere)
{
    const DecodedFrame frame = decoded(kUnknown.substr(0, 15));
    EXPECT_EQ(frame.problems, Texts({"frame of 15 bytes, its word count makes 18"}));
    EXPECT_EQ(frame.fields.at("frame").at("data_checksum"), "absent");
    EXPECT_EQ(frame.fields.at("words").dump(), R"(["0001","8002"])");
}

TEST(FrameDecoderTest, KnownMessageOfAnotherLengthIsItsWords)
{
    const DecodedFrame frame = decoded("\xFF\x81\xB4\x13\x01\x00\x00\x80\x4C\xEA\x02\x00\xFE\xFF"s);
    EXPECT_EQ(frame.problems, Texts({"message 5044 has 21 data words, not what this frame has"}));
    EXPECT_EQ(frame.fields.at("words").dump(), R"(["0002"])");
}

TEST(FrameDecoderTest, FewerBytesThanAHeaderAreShownAsTheyAre)
{
    const DecodedFrame frame = decoded("\xFF\x81\x4D"s);
    EXPECT_EQ(frame.fields.dump(), R"({"bytes":"FF814D"})");
    EXPECT_EQ(frame.problems, Texts({"frame of 3 bytes has no whole header"}));
    EXPECT_EQ(decoded("").problems, Texts({"frame of 0 bytes has no whole header"}));
}

TEST(FrameDecoderTest, RecordHeaderHasTimesAndNames)
{
    aspn2_msgs::idl::header header;
    header.seq_num(-1);
    header.timestamp_arrival().sec(12);
    header.timestamp_valid().nsec(-4);
    header.timestamp_valid().time_code(101);
    header.device_id(0x01273B02);
    EXPECT_EQ(orvanectl::decodeHeader(header).dump(),
              R"({"seq_num":-1,"timestamp_arrival":{"sec":12,"nsec":0,"time_code":0},)"
              R"("timestamp_valid":{"sec":0,"nsec":-4,"time_code":101},)"
              R"("device_id":{"value":"0x01273B02","system":1,"system_name":"KOLT","server":39,)"
              R"("server_name":"ZentorM","message":59,"topic":2}})");
}

TEST(FrameDecoderTest, UnassignedDeviceIdsAreNamedInvalid)
{
    aspn2_msgs::idl::header header;
    header.device_id(-1);
    const Json id = orvanectl::decodeHeader(header).at("device_id");
    EXPECT_EQ(id.at("value"), "0xFFFFFFFF");
    EXPECT_EQ(id.at("system_name"), "INVALID_SYSTEM_ID");
    EXPECT_EQ(id.at("server_name"), "INVALID_SERVER_ID");
}
