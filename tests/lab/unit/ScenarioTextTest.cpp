#include "lab/unit/ScenarioText.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace unitsim;

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

/// A scenario whose tracks have two points.
Scenario scenario(const std::string& text)
{
    std::istringstream file(text);
    return scenarioOf(file, "drive.txt", [](const std::string& name) {
        if (name != "a track.gpx") throw std::runtime_error(name + ": can't be read");
        return std::vector<WayPoint>{{0.0, {0.5, 1.0, 10.0}}, {8.0, {0.5, 1.1, 10.0}}};
    });
}

std::string whatIsWrongWith(const std::string& text)
{
    try {
        scenario(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

SetFault fault(Fault::Kind kind, double amount = 0.0)
{
    return {Output::PositionVelocityAttitude, {kind, amount}};
}

}  // namespace

TEST(ScenarioTextTest, EventsOfAFileAreInTheOrderOfTheirTimes)
{
    const auto events = scenario("# a drive\nat 8 warn 1\n\nat 5 warn 2\nat 8 warn 3").events;
    ASSERT_EQ(events.size(), 3U);
    EXPECT_TRUE(events[0].what == Happening(Warning{2, ""}));
    EXPECT_TRUE(events[1].what == Happening(Warning{1, ""}));
    EXPECT_TRUE(events[2].what == Happening(Warning{3, ""}));
}

TEST(ScenarioTextTest, WrongLineIsNamedWithFileAndNumber)
{
    EXPECT_EQ(whatIsWrongWith("# a drive\nat 5 warn 7\n\nat 6 warn x\n"),
              "drive.txt:4: 'x' has no whole number from 0 to 65535");
}

TEST(ScenarioTextTest, FileThatCannotBeReadIsNamed)
{
    const TemporaryDirectory directory;
    for (const std::string& name : {std::string("/none"), directory.path().string()}) {
        try {
            readScenario(name);
            FAIL() << name;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), name + ": can't be read");
        }
    }
}

TEST(ScenarioTextTest, PipeIsNotWaitedFor)
{
    const TemporaryDirectory directory;
    const std::string pipe = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THROW(readScenario(pipe), std::runtime_error);
    EXPECT_THROW(readScenario("/dev/zero"), std::runtime_error);
}

TEST(ScenarioTextTest, ManyStretchesAreReadInTheirOrder)
{
    constexpr int kStretches = 10'000;
    std::string text;
    for (int i = 0; i < kStretches; ++i)
        text += "fault pva off " + std::to_string(i) + ".." + std::to_string(i + 1) + "\n";
    const auto events = scenario(text).events;
    ASSERT_EQ(events.size(), std::size_t{2} * kStretches);
    EXPECT_TRUE(events[0].what == Happening(fault(Fault::Kind::Off)));
    EXPECT_TRUE(events[1].what == Happening(fault(Fault::Kind::None)));
    EXPECT_TRUE(events[2].what == Happening(fault(Fault::Kind::Off)));
}

TEST(ScenarioTextTest, SampleScenarioIsUnderstood)
{
    const auto events = readScenario(ORVANE_LAB_DIR "/scenarios/drive.txt").events;
    ASSERT_EQ(events.size(), 6U);
    EXPECT_TRUE(events.back().what == Happening(SetGps{false}));
}

TEST(ScenarioTextTest, JammerHasAPlaceAPowerAndATime)
{
    const World world = scenario("place jammer at 39.51 -76.1 alt 92 power 30 center 1227.6 bw 0.5 on 20..60").world;
    ASSERT_EQ(world.jammers.size(), 1U);
    const Jammer& jammer = world.jammers[0];
    EXPECT_EQ(jammer.position[0], 39.51 * kDegree);
    EXPECT_EQ(jammer.position[1], -76.1 * kDegree);
    EXPECT_EQ(jammer.position[2], 92.0);
    EXPECT_EQ(jammer.powerDbm, 30.0);
    EXPECT_EQ(jammer.centerMhz, 1227.6);
    EXPECT_EQ(jammer.bandwidthMhz, 0.5);
    EXPECT_EQ(jammer.when, (Window{20.0, 60.0}));
}

TEST(ScenarioTextTest, JammerOnL1AtTheEllipsoidForEverIsUsual)
{
    const Jammer jammer = scenario("place jammer at 39.51 -76.1 power -3").world.jammers.at(0);
    EXPECT_EQ(jammer.position[2], 0.0);
    EXPECT_EQ(jammer.centerMhz, 1575.4);
    EXPECT_EQ(jammer.bandwidthMhz, 2.0);
    EXPECT_EQ(jammer.when, Window());
}

TEST(ScenarioTextTest, DriveGoesFromThePlaceOfTheVehicleOn)
{
    const World world =
        scenario("place vehicle at 39.5 -76.1 alt 92 heading 90\nstand 5\ndrive 39.51 -76.1 at 10\nstand 3").world;
    ASSERT_TRUE(world.drive);
    EXPECT_EQ(world.drive->at(1.0).attitude[2], 90.0 * kDegree);
    const auto& points = world.drive->points();
    ASSERT_EQ(points.size(), 4U);
    EXPECT_EQ(points[1].seconds, 5.0);
    EXPECT_NEAR(points[2].seconds, 116.02674136935, 1e-8);
    EXPECT_EQ(points[2].position[2], 92.0);
    EXPECT_NEAR(points[3].seconds, 119.02674136935, 1e-8);
}

TEST(ScenarioTextTest, DriveWithoutAPlaceBeginsWhereTheUsualCourseDoes)
{
    const World world = scenario("drive 39.51 -76.1 at 10").world;
    EXPECT_EQ(world.drive->at(0.0).position[0], Course::at(0.0).position[0]);
    EXPECT_FALSE(scenario("at 1 warn 7").world.drive);
}

TEST(ScenarioTextTest, TrackIsTheDrive)
{
    const World world = scenario("track a track.gpx").world;
    EXPECT_EQ(world.drive->at(4.0).position[1], 1.05);
}

TEST(ScenarioTextTest, StretchIsAnEventAtItsBeginAndOneAtItsEnd)
{
    const auto events = scenario("fault pva delayed=2.5 10..20\nquality gps 5 12..").events;
    ASSERT_EQ(events.size(), 3U);
    EXPECT_TRUE(events[0].what == Happening(fault(Fault::Kind::Delayed, 2.5)));
    EXPECT_EQ(events[0].seconds, 10.0);
    EXPECT_TRUE(events[1].what == Happening(SetQuality{SetQuality::Source::Gps, 5.0}));
    EXPECT_TRUE(events[2].what == Happening(fault(Fault::Kind::None)));
    EXPECT_EQ(events[2].seconds, 20.0);
}

TEST(ScenarioTextTest, StretchMayBeginWhereAnotherEnds)
{
    const auto events = scenario("fault pva off 20..30\nfault pva stuck 10..20").events;
    ASSERT_EQ(events.size(), 4U);
    EXPECT_TRUE(events[1].what == Happening(fault(Fault::Kind::None)));
    EXPECT_TRUE(events[2].what == Happening(fault(Fault::Kind::Off)));
}

TEST(ScenarioTextTest, WrongWordsAreNamed)
{
    const std::pair<const char*, const char*> wrongs[] = {
        {"plcae jammer", "'plcae' is no line of a scenario; did you mean place?"},
        {"jammer at 1 2", "'jammer' is no line of a scenario: at, place, drive, stand, track, fault, quality"},
        {"warn 7", "'warn' needs a time before it: at SECONDS"},
        {"place", "'place' needs behind it vehicle or jammer"},
        {"place jamer at 1 2", "'jamer' is nothing that has a place; did you mean jammer?"},
        {"place tree at 1 2", "'tree' is nothing that has a place: vehicle, jammer"},
        {"place jammer near 1 2", "'near' stands where at LATITUDE LONGITUDE is expected"},
        {"place jammer at 91 2 power 3", "'91' is no latitude from -90 to 90"},
        {"place jammer at 1 nan power 3", "'nan' is no longitude from -180 to 180"},
        {"place jammer at 1 2 alt x power 3", "'x' is no height from -1000 to 100000"},
        {"place jammer at", "'at' needs behind it a latitude"},
        {"place jammer at 1", "'1' needs behind it a longitude"},
        {"place jammer at 1 2", "'2' needs behind it power DBM"},
        {"place jammer at 1 2 power 3 centr 1575", "'centr' is one word too many; did you mean center?"},
        {"place jammer at 1 2 power 3 bw 2 center 1575", "'center' stands in the wrong place"},
        {"place vehicle at 1 2 headng 3", "'headng' is one word too many; did you mean heading?"},
        {"place jammer at 1 2 bw 3", "'bw' stands where power DBM is expected"},
        {"place jammer at 1 2 power 101", "'101' is no power from -100 to 100 dBm"},
        {"place jammer at 1 2 power 3 center 4000", "'4000' is no frequency from 1 to 3276.75"},
        {"place jammer at 1 2 power 3 bw 0", "'0' is no bandwidth from 0.001 to 65.535"},
        {"place jammer at 1 2 power 3 on 20-60", "'20-60' is not of the form FROM..TO"},
        {"place jammer at 1 2 power 3 on 60..20", "'60..20' ends before it begins"},
        {"place jammer at 1 2 power 3 on 20..60 then", "'then' is one word too many, or none of: alt, center, bw, on"},
        {"place jammer at 1 2 power 3 bandwidth 5",
         "'bandwidth' is one word too many, or none of: alt, center, bw, on"},
        {"fault pva stuck 12", "'12' is not of the form FROM..TO"},
        {"fault pva", "'pva' needs behind it a kind of fault"},
        {"fault pva stck", "'stck' is no kind of fault; did you mean stuck?"},
        {"quality gps 5 12-14", "'12-14' is not of the form FROM..TO"},
        {"place vehicle at 1 2\nplace vehicle at 1 2", "'vehicle' has a place already, or has set off"},
        {"drive 1 2 to 3", "'to' stands where at METRES-A-SECOND is expected"},
        {"drive 1 2 at 0", "'0' is no speed from 0.01 to 10000 m/s"},
        {"stand -1", "'-1' is no number of seconds, up to 100000000"},
        {"track", "'track' needs behind it a file"},
        {"drive 1 2 at 3\ntrack a track.gpx", "'track' stands beside another track, drive or place"},
        {"place vehicle at 1 2\ntrack a track.gpx", "'track' stands beside another track, drive or place"},
        {"track a track.gpx\ndrive 1 2 at 3", "'track' tells the whole drive already"},
        {"track none.csv", "none.csv: can't be read"},
        {"fault", "'fault' needs behind it what, and FROM..TO"},
        {"fault pva off", "'off' needs behind it FROM..TO"},
        {"fault pva of 1..2", "'of' is no kind of fault; did you mean off?"},
        {"fault pva dead 1..2",
         "'dead' is no kind of fault: none, off, stuck, garbage, wrong, slow, delayed, intermittent"},
        {"fault gps off 1..2", "'gps' is no output: pva, utc, pnt, mis, assurance, 8504"},
        {"fault pva off 1..9\nfault pva stuck 8..12", "'8..12' overlaps an earlier line of the same"},
        {"fault pva off 8..12\nfault pva stuck 1..9", "'1..9' overlaps an earlier line of the same"},
        {"fault pva off 1..9\nfault pva stuck 3..4", "'3..4' overlaps an earlier line of the same"},
        {"quality mis 5 1..2", "'mis' has no quality: gps, pva, utc, pnt"},
    };
    for (const auto& [text, what] : wrongs) {
        const std::string told = whatIsWrongWith(text);
        EXPECT_TRUE(told.starts_with("drive.txt:") && told.ends_with(std::string(": ") + what)) << text << '\n' << told;
    }
}

TEST(ScenarioTextTest, TenthJammerIsOneTooMany)
{
    std::string text;
    for (int i = 0; i < 10; ++i) text += "place jammer at 1 2 power 3\n";
    EXPECT_EQ(whatIsWrongWith(text), "drive.txt:10: 'jammer' is one too many: the sensor tells of nine");
}
