#include "lab/ctl/seq/StepText.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace orvanectl;

namespace {

template <class What>
What stepAs(const std::string& line)
{
    return std::get<What>(stepOf(line).value());
}

std::string wrongWordOf(const std::string& line)
{
    try {
        stepOf(line);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

}  // namespace

TEST(StepTextTest, NotesAndEmptyLinesAreNoSteps)
{
    for (const char* line : {"", " \t\r", "# expect", "  # wait"}) EXPECT_FALSE(stepOf(line)) << line;
}

TEST(StepTextTest, RequestIsThatOfTheBusVerb)
{
    EXPECT_EQ(stepAs<MakeRequest>("request clear-data all").body.dump(), R"({"request":"clear-data","data":"all"})");
    EXPECT_EQ(stepAs<MakeRequest>("request clear-data 7").body.dump(), R"({"request":"clear-data","data":7})");
    EXPECT_EQ(stepAs<MakeRequest>("request bit-results 0 1 --count 3").body.dump(),
              R"({"request":"bit-results","ids":["0","1"],"count":3})");
    EXPECT_EQ(stepAs<MakeRequest>("request print \"a b\" --stream cerr").body.dump(),
              R"({"request":"print","text":"a b","stream":"cerr"})");
}

TEST(StepTextTest, WarningIsExpectedByNumbersTextsAndTime)
{
    const auto expected = stepAs<Expectation>(R"(expect warning 24..25 "Result" "a \"b\" \\" within 15)");
    EXPECT_EQ(expected.kind, Kind::Warning);
    EXPECT_FALSE(expected.none);
    EXPECT_EQ(expected.lowest, 24);
    EXPECT_EQ(expected.highest, 25);
    EXPECT_EQ(expected.texts, (std::vector<std::string>{"Result", "a \"b\" \\"}));
    EXPECT_EQ(expected.seconds, 15.0);
    const auto one = stepAs<Expectation>("expect warning 67");
    EXPECT_EQ(one.lowest, 67);
    EXPECT_EQ(one.highest, 67);
    EXPECT_EQ(one.seconds, 10.0);
}

TEST(StepTextTest, TellIsExpectedAgainAndAgain)
{
    const auto expected = stepAs<Expectation>("expect tell blended-navigation every 1.0 +- 0.1 for 10");
    EXPECT_EQ(expected.kind, Kind::Tell);
    EXPECT_EQ(expected.name, "blended-navigation");
    ASSERT_TRUE(expected.every);
    EXPECT_EQ(expected.every->seconds, 1.0);
    EXPECT_EQ(expected.every->tolerance, 0.1);
    EXPECT_EQ(expected.seconds, 10.0);
}

TEST(StepTextTest, TellIsExpectedANumberOfTimes)
{
    const auto expected = stepAs<Expectation>("expect tell navwar-sa times 9..11 for 10");
    ASSERT_TRUE(expected.times);
    EXPECT_EQ(expected.times->least, 9);
    EXPECT_EQ(expected.times->most, 11);
    EXPECT_EQ(expected.seconds, 10.0);
    EXPECT_EQ(stepAs<Expectation>("expect event times 3 for 10").times->most, 3);
}

TEST(StepTextTest, NothingIsExpectedForATime)
{
    const auto expected = stepAs<Expectation>("expect no event \"stopped\" for 3");
    EXPECT_TRUE(expected.none);
    EXPECT_EQ(expected.kind, Kind::Event);
    EXPECT_EQ(expected.seconds, 3.0);
}

TEST(StepTextTest, LinesForTheUnitAreThoseOfAScenario)
{
    EXPECT_EQ(stepAs<TellUnit>("sim threat jam az=90 + bare ").line, "threat jam az=90 + bare");
    EXPECT_EQ(stepAs<TellUnit>("sim at 5 warn 6 ANTENNA  OPEN").line, "at 5 warn 6 ANTENNA  OPEN");
    EXPECT_EQ(stepAs<TellUnit>("sim fault pva stuck 20..60").line, "fault pva stuck 20..60");
    EXPECT_EQ(stepAs<TellUnit>("command START_ZEROIZE").line, "command START_ZEROIZE");
}

TEST(StepTextTest, ProgramsAreStartedWithTheirWords)
{
    EXPECT_EQ(stepAs<StartUnit>("unit --silent GPS").options, (std::vector<std::string>{"--silent", "GPS"}));
    const auto start = stepAs<StartService>("start PARAM_2=true PARAM_8=12,5");
    ASSERT_EQ(start.settings.size(), 2U);
    EXPECT_EQ(start.settings[1], (std::pair<std::string, std::string>("PARAM_8", "12,5")));
    EXPECT_TRUE(std::holds_alternative<StopService>(stepOf("stop").value()));
    EXPECT_EQ(stepAs<TypeKeys>("key a5").keys, "a5");
    EXPECT_EQ(stepAs<Pause>("wait 0.5").seconds, 0.5);
}

TEST(StepTextTest, WhatIsWrongIsNamedByItsWord)
{
    const std::pair<const char*, const char*> kRows[] = {
        {"expct warning 1", "'expct' is no step; did you mean expect?"},
        {"expect", "'expect' needs behind it what is expected"},
        {"expect warnng 1", "'warnng' is nothing to expect; did you mean warning?"},
        {"expect warning x", "'x' is no number of a warning, such as 24 or 24..25"},
        {"expect warning 25..24", "'25..24' ends before it begins"},
        {"expect warning 99999999999", "'99999999999' is no number of a warning, such as 24 or 24..25"},
        {"expect tell blended",
         "'blended' is nothing that is told: blended-navigation, navwar-sa, warning-messages, "
         "system-configuration, available-outputs, available-sensors, built-in-test-results, "
         "clear-system-data, execute-built-in-tests, clear-built-in-test-results, faults, service, "
         "held, misuse"},
        {"expect event \"a", "'\"a' has no second quote"},
        {"expect event \"\"", "'' is in everything"},
        {"expect no event", "'no' needs for and a number of seconds behind what is not to come"},
        {"expect no event every 1 +- 1 for 9", "'every' can't be expected not to come: no ... for SECONDS"},
        {"expect event within", "'within' needs behind it a number of seconds"},
        {"expect event within -1", "'-1' is no number of seconds, up to 86400"},
        {"expect event within nan", "'nan' is no number of seconds, up to 86400"},
        {"expect event within 1 2", "'2' is one word too many"},
        {"expect event wthin 1", "'wthin' is no text in double quotes, and tells no time; did you mean within?"},
        {"expect no event fr 1", "'fr' is no text in double quotes, and tells no time; did you mean for?"},
        {"expect no event within 1", "'within' is no text in double quotes, and tells no time: for"},
        {"expect event OrvaneServer started",
         "'OrvaneServer' is no text in double quotes, and tells no time: within, every, times"},
        {"sim at 5 wran 7", "'wran' is nothing that happens; did you mean warn?"},
        {"sim place jammer at 1 2 power 3",
         "'place' is for the file of a scenario: places stay as they are while it runs"},
        {"sim fault pva stuck 60..20", "'60..20' ends before it begins"},
        {"sim fault pva stcuk 20..60", "'stcuk' is no kind of fault; did you mean stuck?"},
        {"expect event every 1 for 5", "'every' needs behind its seconds +- and a tolerance"},
        {"expect event every 1 +- 0.5", "'every' needs behind its tolerance for and a number of seconds"},
        {"expect event every 3 +- 1 for 2", "'2' is too short: nothing is due in it"},
        {"expect event times", "'times' needs behind it a number, or LEAST..MOST"},
        {"expect event times 0 for 5", "'0' is no number of times, such as 9 or 9..11"},
        {"expect event times 9..x for 5", "'9..x' is no number of times, such as 9 or 9..11"},
        {"expect event times 3..2 for 5", "'3..2' ends before it begins"},
        {"expect event times 3", "'3' needs behind it for and a number of seconds"},
        {"expect event times 3 for 5 6", "'6' is one word too many"},
        {"expect event tmes 3 for 5", "'tmes' is no text in double quotes, and tells no time; did you mean times?"},
        {"expect no event times 3 for 5", "'times' can't be expected not to come: no ... for SECONDS"},
        {"start PARAM_2", "'PARAM_2' is not of the form KEY=VALUE"},
        {"request", "'request' needs behind it a request"},
        {"request --help", "'--help' makes no request: orvanectl bus has the help"},
        {"request clear-data --help", "'clear-data' makes no request: orvanectl bus has the help"},
        {"request clear-dta", "'clear-dta' makes no request: no verb \"clear-dta\"; did you mean \"clear-data\"?"},
        {"sim threat jma", "'jma' is no kind of threat; did you mean jam?"},
        {"sim", "'sim' needs behind it a line of a scenario"},
        {"sim # note", "'# note' says nothing"},
        {"command", "'command' needs behind it a text"},
        {"key", "'key' needs behind it keys"},
        {"key a 5", "'5' is one word too many"},
        {"wait 0", "'0' is no number of seconds, up to 86400"},
        {"stop now", "'now' is one word too many"}};
    for (const auto& [line, error] : kRows) EXPECT_EQ(wrongWordOf(line), error);
}

TEST(StepTextTest, StepsOfAFileKeepTheirLines)
{
    std::istringstream file("# note\n\n  wait 1 \nstop");
    const Sequence sequence = sequenceOf(file, "a.seq");
    ASSERT_EQ(sequence.lines.size(), 2U);
    EXPECT_EQ(sequence.lines[0].number, 3U);
    EXPECT_EQ(sequence.lines[0].text, "wait 1");
    EXPECT_EQ(sequence.lines[1].number, 4U);
}

TEST(StepTextTest, FileOfARequestStandsBesideTheSequence)
{
    const TemporaryDirectory directory;
    directory.write("a.xml", "<a/>");
    const Sequence sequence = readSequence(directory.write("a.seq", "request save-vcl a.xml\n"));
    EXPECT_EQ(std::get<MakeRequest>(sequence.lines.at(0).step).body.dump(), R"({"request":"save-vcl","text":"<a/>"})");
}

TEST(StepTextTest, LinesOfATerminalAreExpectedOfAServiceThatIsStartedHereAlone)
{
    std::istringstream good("start\nexpect console\n"), bad("request status\nexpect no console for 1\nstart\n");
    EXPECT_EQ(sequenceOf(good, "a.seq").lines.size(), 2U);
    EXPECT_EQ(errorOf([&] { sequenceOf(bad, "a.seq"); }),
              "a.seq:2: 'console' needs start before it: lines of a service that was started elsewhere are not seen");
}

TEST(StepTextTest, FileThatIsWrongIsRefusedWithItsLine)
{
    std::istringstream file("wait 1\nwiat 2\n"), empty("# nothing\n");
    EXPECT_EQ(errorOf([&] { sequenceOf(file, "a.seq"); }), "a.seq:2: 'wiat' is no step; did you mean wait?");
    EXPECT_EQ(errorOf([&] { sequenceOf(empty, "a.seq"); }), "a.seq: has no steps");
    EXPECT_EQ(errorOf([&] { readSequence("/nowhere/a.seq"); }), "/nowhere/a.seq: can't be read");
}
