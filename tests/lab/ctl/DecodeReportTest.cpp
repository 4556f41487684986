#include "lab/ctl/DecodeReport.h"

#include "tests/lab/ctl/Manual.h"
#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace samples;
using orvanectl::DecodeReport;

namespace {

struct Decoded {
    std::string output;
    std::string problems;
    bool clean;
};

Decoded decoded(const std::string& stream, DecodeReport::Style style = {})
{
    std::ostringstream output, problems;
    DecodeReport report(output, problems, "input", style);
    orvanectl::StreamCutter cutter(orvanectl::StreamFormat::Auto, report);
    cutter.take(bytesOf(stream));
    cutter.end();
    return {output.str(), problems.str(), report.isClean()};
}

}  // namespace

TEST(DecodeReportTest, FrameIsAParagraph)
{
    const Decoded result = decoded(kWarning);
    EXPECT_EQ(result.output,
              "frame at 0: message 5044\n"
              "  frame: delimiter 0x81FF, message_id 5044, word_count 21, flags 0x9000, header_checksum good, "
              "data_checksum good\n"
              "  message:\n"
              "    field000: -2.5\n"
              "    warningNumber: 6\n"
              "    warningText: HELLO, this warning has 32 chars\n"
              "\n");
    EXPECT_EQ(result.problems, "");
    EXPECT_TRUE(result.clean);
}

TEST(DecodeReportTest, RecordIsALineOfJsonWithItsHeaderAndFrame)
{
    const Decoded result = decoded(kAckRecord, {.json = true});
    EXPECT_EQ(result.output, R"({"offset":0,"kind":"record","record":{"seq_num":7,)"
                             R"("timestamp_arrival":{"sec":12,"nsec":5,"time_code":100},)"
                             R"("timestamp_valid":{"sec":-3,"nsec":-4,"time_code":101},)"
                             R"("device_id":{"value":"0x01273B02","system":1,"system_name":"KOLT","server":39,)"
                             R"("server_name":"ZentorM","message":59,"topic":2}},)"
                             R"("frame":{"delimiter":"0x81FF","message_id":8504,"word_count":0,"flags":"0x8800",)"
                             R"("kind":"acknowledgement","header_checksum":"good","data_checksum":"absent"}})"
                             "\n");
    EXPECT_TRUE(result.clean);
}

TEST(DecodeReportTest, ExampleOfTheManualIsWhatIsPrinted)
{
    const std::string example = decoded(kWarning + with(kUnknown, 16, "\x31"s)).output;
    EXPECT_NE(manual("orvanectl-decode").find("$ orvanectl decode frames.bin\n" + example), std::string::npos)
        << example;
}

TEST(DecodeReportTest, UnitsStandInAParagraph)
{
    const std::string report = decoded(samples::report()).output;
    EXPECT_NE(report.find("    angle084: 1.5707963705062866 rad\n"), std::string::npos) << report;
    const std::string record = decoded(kAckRecord).output;
    EXPECT_NE(record.find("    timestamp_arrival: sec 12 s, nsec 5 ns, time_code 100\n"), std::string::npos) << record;
    const std::string threats = decoded(samples::threats()).output;
    EXPECT_NE(threats.find("    gpsTime: 345600.25 s\n"
                           "    lat: 0.5 rad\n"
                           "    lon: -1.25 rad\n"
                           "    alt: 100.0 m\n"
                           "    Pos_Accuracy: 12 m\n"
                           "    threats:\n"
                           "      index 0, reported true, state 2, bearing_valid true, Power_valid true, "
                           "BW_valid true, confidence_valid true, Az_degrees -45 deg, El_degrees 10 deg, "
                           "Center_hz 1575400000.0 Hz, BW_hz 20000000.0 Hz, Power -70, confidence 100\n"),
              std::string::npos)
        << threats;
}

TEST(DecodeReportTest, BadChecksumIsShownAndReported)
{
    const Decoded result = decoded(kAck + with(kUnknown, 16, "\x31"s), {.json = true});
    EXPECT_NE(result.output.find(R"("words":["0001","8002","ABCD"],)"
                                 R"("problems":["bad data checksum: 0xD431 instead of 0xD430"]})"),
              std::string::npos)
        << result.output;
    EXPECT_EQ(result.problems, "orvanectl: input: offset 10: bad data checksum: 0xD431 instead of 0xD430\n");
    EXPECT_FALSE(result.clean);
}

TEST(DecodeReportTest, RecordWithABadHeaderChecksumIsDecoded)
{
    const Decoded result = decoded(kRecordFront + with(kWarning, 8, "\x00\x00"s));
    EXPECT_NE(result.output.find("header_checksum bad, data_checksum good\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("warningNumber: 6\n"), std::string::npos) << result.output;
    EXPECT_EQ(result.problems, "orvanectl: input: offset 0: bad header checksum: 0x0000 instead of 0xDA38\n");
    EXPECT_FALSE(result.clean);
}

TEST(DecodeReportTest, NumbersThatAreNotFiniteAreNotedInJson)
{
    const Decoded result = decoded(lostThreats(), {.json = true});
    EXPECT_NE(result.output.find(R"("message":{"gpsTime":1.0,"lat":null,"lon":null,"alt":null,"Pos_Accuracy":12,)"
                                 R"("threats":[]},"notes":["message.lat is nan","message.lon is inf",)"
                                 R"("message.alt is -inf"]})"),
              std::string::npos)
        << result.output;
    EXPECT_TRUE(result.clean);
}

TEST(DecodeReportTest, RecordWithoutAWholeHeaderIsShown)
{
    const std::string record = kRecordFront.substr(0, 48) + "\x02\x00\x00\x00\x02\x00\x00\x00\xFF\x81"s;
    const Decoded result = decoded(record);
    EXPECT_TRUE(result.output.starts_with("record at 0: no message\n")) << result.output;
    EXPECT_EQ(result.problems, "orvanectl: input: offset 0: frame of 2 bytes has no whole header\n");
}

TEST(DecodeReportTest, SearchForTheNextFrameIsReported)
{
    const Decoded result = decoded(with(kWarning, 8, "\x39"s) + kAck);
    EXPECT_EQ(result.problems, "orvanectl: input: offset 0: bad header checksum: 0xDA39 instead of 0xDA38\n"
                               "orvanectl: input: offset 54: the next frame begins here, 54 bytes left out\n");
    EXPECT_TRUE(result.output.starts_with("frame at 54: message 8504\n")) << result.output;
    EXPECT_FALSE(result.clean);
}

namespace {

/// Counts how often it is flushed, and keeps what it had then.
class Flushed : public std::stringbuf {
public:
    int count = 0;
    std::string text;

private:
    int sync() override
    {
        ++count;
        text = str();
        return 0;
    }
};

}  // namespace

TEST(DecodeReportTest, OnlyAProblemHasWhatStandsBeforeItSeen)
{
    Flushed buffer;
    std::ostream output(&buffer);
    std::ostringstream problems;
    DecodeReport report(output, problems, "input", {.json = true});
    report.frame(0, bytesOf(kWarning));
    report.frame(54, bytesOf(kWarning));
    EXPECT_EQ(buffer.count, 0);
    report.problem(108, "no frame begins here: byte 00");
    EXPECT_EQ(buffer.count, 1);
    EXPECT_EQ(buffer.text, buffer.str());
}
