#include "lab/unit/CommandLine.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

using namespace unitsim;

namespace {

struct Read {
    CommandLine line;
    std::string out;
    std::string err;
};

Read read(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "unit-sim");
    std::ostringstream out;
    std::ostringstream err;
    CommandLine line = readCommandLine(static_cast<int>(arguments.size()), arguments.data(), out, err);
    return {std::move(line), out.str(), err.str()};
}

Settings settings(const std::vector<const char*>& arguments)
{
    return read(arguments).line.settings.value();
}

const OutputSettings& of(const Settings& settings, Output output)
{
    return settings.outputs[indexOf(output)];
}

}  // namespace

TEST(CommandLineTest, DefaultsAreAHealthyUnit)
{
    const Settings made = settings({});
    EXPECT_EQ(made.rateHz, 1.0);
    EXPECT_EQ(made.connections, "/opt/halvex/config/Connections.xml");
    EXPECT_EQ(made.memory, "/dev/mem");
    for (const OutputSettings& output : made.outputs) EXPECT_TRUE(output.enabled);
    EXPECT_EQ(of(made, Output::UTCTime).server, 37);
    EXPECT_EQ(of(made, Output::Report8504).server, 39);
    EXPECT_EQ(made.postAfterSeconds, 2.0);
    EXPECT_TRUE(made.flags && made.registers);
    EXPECT_FALSE(made.durationSeconds || made.assurance || made.utcSeconds);
}

TEST(CommandLineTest, TopicsSelectWhatIsSent)
{
    const Settings made = settings({"--topics", "pva,UTCTime,8504"});
    EXPECT_TRUE(of(made, Output::PositionVelocityAttitude).enabled);
    EXPECT_TRUE(of(made, Output::UTCTime).enabled);
    EXPECT_TRUE(of(made, Output::Report8504).enabled);
    EXPECT_FALSE(of(made, Output::AssuranceState).enabled);
    for (const OutputSettings& output : settings({"--topics", "none"}).outputs) EXPECT_FALSE(output.enabled);
}

TEST(CommandLineTest, OutputsHaveOffsetsServersAndMutes)
{
    const Settings made =
        settings({"--offset", "mis=-1.5", "--server", "pnt=97", "--mute", "8504=10:15", "--mute", "8504=20"});
    EXPECT_EQ(of(made, Output::MeasurementIncorporationStatus).offsetSeconds, -1.5);
    EXPECT_EQ(of(made, Output::HalvexPNT).server, 97);
    const auto& mutes = of(made, Output::Report8504).mutes;
    EXPECT_FALSE(anyHolds(mutes, 9.9));
    EXPECT_TRUE(anyHolds(mutes, 10.0));
    EXPECT_FALSE(anyHolds(mutes, 15.0));
    EXPECT_TRUE(anyHolds(mutes, 1e6));
}

TEST(CommandLineTest, CommandsKeepTheirTextUpToTheLastSign)
{
    const Settings made = settings({"--command", "START_ZEROIZE@30", "--command", "A@B@0.5"});
    ASSERT_EQ(made.events.size(), 2U);
    EXPECT_EQ(made.events[0].what, Happening(SendCommand{"START_ZEROIZE"}));
    EXPECT_EQ(made.events[0].seconds, 30.0);
    EXPECT_EQ(made.events[1].what, Happening(SendCommand{"A@B"}));
}

TEST(CommandLineTest, ThreatsAndWarningsAreEvents)
{
    const Settings made = settings({"--threat", "bare az=90@5", "--warn", "6 OPEN @ NIGHT@8.5", "--warn", "7@9"});
    ASSERT_EQ(made.events.size(), 3U);
    EXPECT_EQ(made.events[0].what, Happening(ThreatReport{{{.azimuthDegrees = 90}}}));
    EXPECT_EQ(made.events[0].seconds, 5.0);
    EXPECT_EQ(made.events[1].what, Happening(Warning{6, "OPEN @ NIGHT"}));
    EXPECT_EQ(made.events[1].seconds, 8.5);
    EXPECT_EQ(made.events[2].what, Happening(Warning{7, ""}));
}

TEST(CommandLineTest, ScenarioIsRead)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("scenario", "at 5 gps-lost\nat 2 warn 7\n");
    const Settings made = settings({"--scenario", file.c_str()});
    ASSERT_EQ(made.events.size(), 2U);
    EXPECT_EQ(made.events[0].what, Happening(Warning{7, ""}));
    EXPECT_EQ(made.events[1].what, Happening(SetGps{true}));
}

TEST(CommandLineTest, ScenarioThatIsWrongIsNamedWithItsLineAndWord)
{
    const TemporaryDirectory directory;
    const std::string file = directory.write("scenario", "at 5 gps-lost\nat 8 wran 7\n");
    const Read made = read({"--scenario", file.c_str()});
    EXPECT_EQ(made.line.status, 2);
    EXPECT_NE(made.err.find(file + ":2: 'wran' is nothing that happens; did you mean warn?"), std::string::npos)
        << made.err;
    EXPECT_NE(read({"--scenario", "/none"}).err.find("/none: can't be read"), std::string::npos);
}

TEST(CommandLineTest, RandomEventsAndTheirServers)
{
    const Settings made = settings({"--threat-rate", "0.5", "--warn-rate", "2", "--server", "5044=7", "--server",
                                    "15051=8", "--server", "8504=9"});
    EXPECT_EQ(made.threatRateHz, 0.5);
    EXPECT_EQ(made.warningRateHz, 2.0);
    EXPECT_EQ(made.warningServer, 7);
    EXPECT_EQ(made.threatServer, 8);
    EXPECT_EQ(of(made, Output::Report8504).server, 9);
    EXPECT_EQ(settings({}).threatRateHz, 0.0);
    EXPECT_EQ(settings({}).threatServer, 96);
}

TEST(CommandLineTest, FindingsTellHowAServerFails)
{
    const Settings made = settings({"--bit-fail", "39,38:silent,47:critical", "--bit-fail", "41:warning"});
    EXPECT_EQ(made.findings,
              (std::map<std::int32_t, Finding>{
                  {38, Finding::Silent}, {39, Finding::Error}, {41, Finding::Warning}, {47, Finding::Critical}}));
}

TEST(CommandLineTest, AnswersAreANameOrAPair)
{
    EXPECT_EQ(settings({"--answers", "none,pass"}).answers, (Answers{Answers::First::None, Answers::Then::Pass}));
    EXPECT_EQ(settings({"--answers", "nack"}).answers, (Answers{Answers::First::Nack, Answers::Then::None}));
    EXPECT_EQ(settings({}).answers, (Answers{Answers::First::Ack, Answers::Then::Pass}));
}

TEST(CommandLineTest, EveryOtherOptionArrives)
{
    const Settings made = settings({"--gps-lost",
                                    "5:8",
                                    "--answers",
                                    "ack-only",
                                    "--assurance",
                                    "0",
                                    "--measurements",
                                    "60",
                                    "--report-words",
                                    "199",
                                    "--receiver-failure",
                                    "--receiver-status",
                                    "--no-post",
                                    "--no-flags",
                                    "--no-registers",
                                    "--clock-rate",
                                    "58982401",
                                    "--uptime",
                                    "5",
                                    "--duration",
                                    "2.5",
                                    "--seed",
                                    "9",
                                    "--utc",
                                    "1772323200",
                                    "--rate",
                                    "100",
                                    "--bit-fail",
                                    "39,38",
                                    "--silent",
                                    "GPS,TARVO",
                                    "--erase-seconds",
                                    "1",
                                    "--bit-seconds",
                                    "4",
                                    "--answer-delay",
                                    "0",
                                    "--count-step",
                                    "0.01",
                                    "-q",
                                    "-v",
                                    "--log",
                                    "sent",
                                    "--receiver-copy",
                                    "copy",
                                    "--system",
                                    "RENS"});
    EXPECT_TRUE(anyHolds(made.gpsLost, 7.9));
    EXPECT_EQ(made.answers, Answers::AckOnly);
    EXPECT_EQ(made.assurance, 0U);
    EXPECT_EQ(made.measurementEntries, 60U);
    EXPECT_EQ(made.reportWords, 199);
    EXPECT_TRUE(made.receiverFailure && made.receiverStatus && made.quiet && made.verbose);
    EXPECT_FALSE(made.postAfterSeconds || made.flags || made.registers);
    EXPECT_EQ(made.clockRate, 58982401U);
    EXPECT_EQ(made.log, "sent");
    EXPECT_EQ(made.receiverCopy, "copy");
    EXPECT_EQ(made.uptimeSeconds, 5.0);
    EXPECT_EQ(made.durationSeconds, 2.5);
    EXPECT_EQ(made.seed, 9U);
    EXPECT_EQ(made.utcSeconds, 1772323200);
    EXPECT_EQ(made.rateHz, 100.0);
    EXPECT_EQ(made.findings, (std::map<std::int32_t, Finding>{{38, Finding::Error}, {39, Finding::Error}}));
    EXPECT_EQ(made.silentComponents, (std::set<std::string>{"GPS", "TARVO"}));
    EXPECT_EQ(made.eraseSeconds, 1.0);
    EXPECT_EQ(made.bitSeconds, 4.0);
    EXPECT_EQ(made.answerDelaySeconds, 0.0);
    EXPECT_EQ(made.countStepSeconds, 0.01);
    EXPECT_EQ(made.system, "RENS");
}

TEST(CommandLineTest, WrongValueIsNamedWithItsOption)
{
    const std::vector<std::pair<std::vector<const char*>, std::string>> wrongs = {
        {{"--offset", "foo=1"}, "--offset: 'foo' is no output"},
        {{"--offset", "pva"}, "--offset: 'pva' is not of the form OUTPUT=VALUE"},
        {{"--offset", "pva=x"}, "--offset: 'pva=x' has no number of seconds"},
        {{"--offset", "pva=nan"}, "--offset: 'pva=nan' has no number of seconds"},
        {{"--server", "pva=256"}, "--server: 'pva=256' has no id, 0 to 255"},
        {{"--mute", "pva=5:5"}, "--mute: 'pva=5:5' ends before it begins"},
        {{"--gps-lost", "5:"}, "--gps-lost: '5:' has no number of seconds"},
        {{"--command", "X"}, "--command: 'X' is not of the form TEXT@SECONDS"},
        {{"--topics", "gps"}, "--topics: 'gps' is no output"},
        {{"--rate", "0"}, "--rate: Value 0 not in range"},
        {{"--answers", "maybe"},
         "--answers: 'maybe' is no pair such as ack,fail, and no answer: normal, none, nack, fail, ack-only"},
        {{"--answers", "ack,maybe"}, "--answers: 'ack,maybe' ends with no last answer: pass, fail, none"},
        {{"--threat", "jam"}, "--threat: 'jam' is not of the form TEXT@SECONDS"},
        {{"--threat", "jma@5"}, "--threat: 'jma' is no kind of threat; did you mean jam?"},
        {{"--warn", "x@5"}, "--warn: 'x' has no whole number from 0 to 65535"},
        {{"--warn", "7@-1"}, "--warn: '7@-1' has no number of seconds"},
        {{"--bit-fail", "39:dead"}, "--bit-fail: '39:dead' ends with no finding: good, warning, error, critical"},
        {{"--silent", "GSP"}, "--silent: 'GSP' has no part numbers; did you mean GPS?"},
        {{"--threat-rate", "-1"}, "--threat-rate: Value -1 not in range"},
        {{"--topics", "pav"}, "--topics: 'pav' is no output; did you mean pva?"},
        {{"--gps-lots", "2:4"}, "unit-sim: no option \"--gps-lots\"; did you mean \"--gps-lost\"?"},
        {{"--answer-dely=5"}, "no option \"--answer-dely\"; did you mean \"--answer-delay\"?"},
        {{"--bogus"}, "no option \"--bogus\" (unit-sim --help tells more)"},
        {{"quiet"}, "\"quiet\" belongs to no option"},
    };
    for (const auto& [arguments, expected] : wrongs) {
        const Read made = read(arguments);
        EXPECT_FALSE(made.line.settings);
        EXPECT_EQ(made.line.status, 2);
        EXPECT_NE(made.err.find(expected), std::string::npos) << made.err;
    }
}

TEST(CommandLineTest, WhatIsNotANumberIsNoneOfAnyRange)
{
    for (const char* option : {"--rate", "--answer-delay", "--erase-seconds", "--bit-seconds", "--threat-rate",
                               "--warn-rate", "--post-after", "--uptime", "--count-step", "--duration"}) {
        const Read made = read({option, "nan"});
        EXPECT_EQ(made.line.status, 2) << option;
        EXPECT_EQ(made.err, "unit-sim: " + std::string(option) + ": nan is no number (unit-sim --help tells more)\n");
    }
}

TEST(CommandLineTest, HelpIsPrintedAndEndsWell)
{
    const Read made = read({"--help"});
    EXPECT_FALSE(made.line.settings);
    EXPECT_EQ(made.line.status, 0);
    EXPECT_NE(made.out.find("--gps-lost"), std::string::npos);
}
