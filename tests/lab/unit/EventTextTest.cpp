#include "lab/unit/EventText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

using namespace unitsim;

namespace {

/// The one threat that a text tells.
Threat threatOf(const char* text)
{
    return threatReportOf(text).threats.at(0);
}

std::string whatIsWrongWith(const std::string& line)
{
    try {
        eventOf(line);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "nothing";
}

}  // namespace

TEST(EventTextTest, JamTellsEverything)
{
    const Threat threat = threatOf("jam az=90 el=-45");
    EXPECT_EQ(threat.state, 2);
    EXPECT_TRUE(threat.hasBearing);
    EXPECT_EQ(threat.azimuthDegrees, 90);
    EXPECT_EQ(threat.elevationDegrees, -45);
    EXPECT_EQ(threat.center, 31508);
    EXPECT_EQ(threat.bandwidthKhz, 2000);
    EXPECT_EQ(threat.power, -70);
    EXPECT_EQ(threat.confidenceTimes25, 3U);
}

TEST(EventTextTest, OtherKindsTellLess)
{
    EXPECT_EQ(threatOf("bare"), Threat());
    EXPECT_FALSE(threatOf("no-bearing").hasBearing);
    EXPECT_EQ(threatOf("no-bearing").power, -70);
    EXPECT_EQ(threatOf("ended").state, 0);
}

TEST(EventTextTest, EveryValueOfAThreatCanBeSet)
{
    const Threat threat = threatOf("bare  az=-180\tel=7 power=-32768 center=1227.6 bw=0.001 confidence=375 state=3");
    EXPECT_EQ(threat.azimuthDegrees, -180);
    EXPECT_EQ(threat.elevationDegrees, 7);
    EXPECT_EQ(threat.power, -32768);
    EXPECT_EQ(threat.center, 24552);
    EXPECT_EQ(threat.bandwidthKhz, 1);
    EXPECT_EQ(threat.confidenceTimes25, 15U);
    EXPECT_EQ(threat.state, 3);
}

TEST(EventTextTest, ReportHasUpToNineThreats)
{
    const ThreatReport report = threatReportOf("jam az=1 + bare az=2 + ended");
    ASSERT_EQ(report.threats.size(), 3U);
    EXPECT_EQ(report.threats[1].azimuthDegrees, 2);
    EXPECT_EQ(threatReportOf("jam + jam + jam + jam + jam + jam + jam + jam + jam").threats.size(), 9U);
}

TEST(EventTextTest, WarningHasANumberAndTheRestAsItsText)
{
    EXPECT_EQ(warningOf("6 ANTENNA  OPEN "), (Warning{6, "ANTENNA  OPEN"}));
    EXPECT_EQ(warningOf("65535"), (Warning{65535, ""}));
    EXPECT_EQ(warningOf("1 THIS TEXT IS 32 CHARACTERS LONG!").text.size(), 32U);
}

TEST(EventTextTest, EveryWordOfALineIsUnderstood)
{
    const std::vector<std::pair<const char*, Happening>> lines = {
        {"at 5 threat bare az=3", ThreatReport{{{.azimuthDegrees = 3}}}},
        {"at 5 warn 7", Warning{7, ""}},
        {"at 5 gps-lost", SetGps{true}},
        {"at 5 gps-back", SetGps{false}},
        {"at 5 answers nack,fail", Answers{Answers::First::Nack, Answers::Then::Fail}},
        {"at 5 answers fail", Answers{Answers::First::Ack, Answers::Then::Fail}},
        {"at 5 silent GPS", SetSilence{"GPS", true}},
        {"at 5 speaking PNT-Q", SetSilence{"PNT-Q", false}},
        {"at 5 bit 39", SetFinding{39, Finding::Error}},
        {"at 5 bit 39:good", SetFinding{39, Finding::Good}},
        {"\t at  5.0 command START_ZEROIZE \r", SendCommand{"START_ZEROIZE"}},
    };
    for (const auto& [line, what] : lines) {
        const auto event = eventOf(line);
        ASSERT_TRUE(event) << line;
        EXPECT_EQ(event->seconds, 5.0) << line;
        EXPECT_TRUE(event->what == what) << line;
    }
}

TEST(EventTextTest, EmptyLinesAndNotesAreNoEvents)
{
    for (const char* line : {"", "  \t", "# at 5 warn 7", "#at 5 warn 7", "  #", "\r"})
        EXPECT_FALSE(eventOf(line)) << line;
}

TEST(EventTextTest, WrongWordIsNamed)
{
    const std::vector<std::pair<std::string, std::string>> wrongs = {
        {"in 5 warn 7", "'in' stands where at SECONDS is expected"},
        {"at", "'at' needs behind it a number of seconds"},
        {"at five warn 7", "'five' is no number of seconds, up to 100000000"},
        {"at -1 warn 7", "'-1' is no number of seconds, up to 100000000"},
        {"at nan warn 7", "'nan' is no number of seconds, up to 100000000"},
        {"at 1e9 warn 7", "'1e9' is no number of seconds, up to 100000000"},
        {"at 5s warn 7", "'5s' is no number of seconds, up to 100000000"},
        {"at 5", "'5' needs behind it what happens then"},
        {"at 5 wran 7", "'wran' is nothing that happens; did you mean warn?"},
        {"at 5 warn", "'warn' needs behind it a number"},
        {"at 5 warn seven", "'seven' has no whole number from 0 to 65535"},
        {"at 5 warn 65536", "'65536' has no whole number from 0 to 65535"},
        {"at 5 warn 7x", "'7x' has no whole number from 0 to 65535"},
        {"at 5 warn 7 THIS TEXT HAS 33 CHARACTERS IN ALL", "'THIS TEXT HAS 33 CHARACTERS IN ALL' is longer than 32 "
                                                           "characters"},
        {"at 5 threat", "'threat' needs behind it a kind: jam, bare, no-bearing, ended"},
        {"at 5 threat jam +", "'+' needs behind it a kind: jam, bare, no-bearing, ended"},
        {"at 5 threat az=5", "'az=5' is no kind of threat: jam, bare, no-bearing, ended"},
        {"at 5 threat jam 90", "'90' is not of the form KEY=VALUE"},
        {"at 5 threat jam range=5", "'range=5' is nothing that a threat has: az, el, power, center, bw, confidence, "
                                    "state"},
        {"at 5 threat jam az=", "'az=' has no whole number from -32768 to 32767"},
        {"at 5 threat jam az=32768", "'az=32768' has no whole number from -32768 to 32767"},
        {"at 5 threat jam state=4", "'state=4' has no whole number from 0 to 3"},
        {"at 5 threat jam center=1575.42", "'center=1575.42' has no number from 0 to 3276.75 in steps of 0.05"},
        {"at 5 threat jam bw=65.536", "'bw=65.536' has no number from 0 to 65.535 in steps of 0.001"},
        {"at 5 threat jam bw=inf", "'bw=inf' has no number from 0 to 65.535 in steps of 0.001"},
        {"at 5 threat jam confidence=80", "'confidence=80' has no number from 0 to 375 in steps of 25"},
        {"at 5 threat jam + jam + jam + jam + jam + jam + jam + jam + jam + bare", "'bare' is one threat too many for "
                                                                                   "a report"},
        {"at 5 gps-lost now", "'now' is one word too many"},
        {"at 5 answers", "'answers' needs behind it how commands are answered"},
        {"at 5 answers ack pass", "'pass' is one word too many"},
        {"at 5 answers yes,pass", "'yes,pass' begins with no first answer: ack, nack, none"},
        {"at 5 answers nak,pass", "'nak,pass' begins with no first answer; did you mean nack?"},
        {"at 5 answers ack,failed", "'ack,failed' ends with no last answer; did you mean fail?"},
        {"at 5 answers never",
         "'never' is no pair such as ack,fail, and no answer: normal, none, nack, fail, ack-only"},
        {"at 5 silent GSP", "'GSP' has no part numbers; did you mean GPS?"},
        {"at 5 bit 256", "'256' has no whole number from 0 to 255"},
        {"at 5 bit 39:dead", "'39:dead' ends with no finding: good, warning, error, critical, silent"},
        {"at 5 command", "'command' needs behind it a text"},
        {"at 5 \x1b[31m", "'?[31m' is nothing that happens: threat, warn, gps-lost, gps-back, answers, silent, "
                          "speaking, bit, command, fault, quality"},
    };
    for (const auto& [line, what] : wrongs) EXPECT_EQ(whatIsWrongWith(line), what);
}

TEST(EventTextTest, AnyBytesAreAnEventOrNamedAsWrong)
{
    const std::string words[] = {"at ", "5 ", "threat ", "warn ", "jam ", "az=", "+ ", "bit ", ":", "=", "1e400 ", "-"};
    std::mt19937 random(1);
    int understood = 0, wrong = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string line = i % 2 == 0 ? "at 5 " : "";
        for (auto left = random() % 8; left > 0; --left) {
            const auto choice = random() % (std::size(words) + 4);
            if (choice < std::size(words))
                line += words[choice];
            else
                line += static_cast<char>(static_cast<unsigned char>(random() % 256));
        }
        try {
            understood += eventOf(line) ? 1 : 0;
        } catch (const std::invalid_argument& error) {
            ++wrong;
            for (const char byte : std::string(error.what())) ASSERT_TRUE(byte >= ' ' && byte <= '~');
        }
    }
    EXPECT_GT(understood, 10);
    EXPECT_GT(wrong, 10000);
}

TEST(EventTextTest, FaultHasItsUsualAmountOrOneOfItsOwn)
{
    EXPECT_EQ(faultOf("pva stuck"), (SetFault{Output::PositionVelocityAttitude, {Fault::Kind::Stuck, 0.0}}));
    EXPECT_EQ(faultOf("8504 delayed"), (SetFault{Output::Report8504, {Fault::Kind::Delayed, 1.5}}));
    EXPECT_EQ(faultOf("mis slow=7"), (SetFault{Output::MeasurementIncorporationStatus, {Fault::Kind::Slow, 7.0}}));
    EXPECT_EQ(faultOf("UTCTime none"), (SetFault{Output::UTCTime, {Fault::Kind::None, 0.0}}));
    EXPECT_TRUE(happeningOf("fault pnt off") == Happening(SetFault{Output::HalvexPNT, {Fault::Kind::Off, 0.0}}));
}

TEST(EventTextTest, WrongIsInTheUnitOfItsOutput)
{
    EXPECT_EQ(faultOf("pnt wrong").fault.amount, 1000.0);
    EXPECT_EQ(faultOf("utc wrong").fault.amount, 10.0);
    EXPECT_EQ(faultOf("assurance wrong").fault.amount, 0.0);
    EXPECT_EQ(faultOf("utc wrong=-3.5").fault.amount, -3.5);
}

TEST(EventTextTest, QualityIsAFactor)
{
    EXPECT_EQ(qualityOf("gps 5"), (SetQuality{SetQuality::Source::Gps, 5.0}));
    EXPECT_TRUE(happeningOf("quality pnt 0.5") == Happening(SetQuality{SetQuality::Source::HalvexPNT, 0.5}));
}

TEST(EventTextTest, WrongFaultIsNamed)
{
    const std::pair<const char*, const char*> wrongs[] = {
        {"at 5 fault", "'fault' needs behind it an output"},
        {"at 5 fault pva", "'pva' needs behind it a kind of fault"},
        {"at 5 fault pva stuck now", "'now' is one word too many"},
        {"at 5 fault pva stuck=1", "'stuck=1' takes no number"},
        {"at 5 fault mis wrong=1", "'wrong=1' takes no number"},
        {"at 5 fault pva slow=1", "'slow=1' has no whole number from 2 to 1000"},
        {"at 5 fault pva slow=2.5", "'slow=2.5' has no whole number from 2 to 1000"},
        {"at 5 fault pva intermittent=", "'intermittent=' has no probability from 0 to 1"},
        {"at 5 quality gps -1", "'-1' is no factor from 0 to 1000000"},
    };
    for (const auto& [line, what] : wrongs) EXPECT_EQ(whatIsWrongWith(line), what);
}
