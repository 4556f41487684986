#include "lab/ctl/serve/PageModel.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <numbers>

using namespace orvanectl;
using aspn2_msgs::idl::PositionVelocityAttitude;

namespace {

PageModel::Time at(int millisecond)
{
    return PageModel::Time(std::chrono::milliseconds(1'000'000 + millisecond));
}

/// A model that begins at 0 ms.
struct PageModelTest : testing::Test {
    static PositionVelocityAttitude solution(double latitude, double longitude)
    {
        PositionVelocityAttitude message;
        message.position().latitude(latitude);
        message.position().longitude(longitude);
        return message;
    }

    void take(int millisecond, const PositionVelocityAttitude& message)
    {
        const WatchedTopic topic{"PositionVelocityAttitude", findRecordType("PositionVelocityAttitude")};
        model.take(topic, {0, {at(millisecond), {}, 1, 0, 1}, std::make_shared<PositionVelocityAttitude>(message)});
    }

    void takeLine(int millisecond, const std::string& text)
    {
        model.takeBusLine(Json::parse(text, nullptr, false), at(millisecond));
    }

    /// Null if there is none.
    Json section(const std::string& name, int millisecond = 1000, const TopView& view = {},
                 const std::string& trouble = "")
    {
        for (const auto& [key, json] : model.sections(view, trouble, 0, at(millisecond)))
            if (key == name) return Json::parse(json);
        return nullptr;
    }

    PageModel model{at(0)};
};

constexpr const char* kNavigation =
    R"({"type":"tell","tell":"blended-navigation","record":{"fom":3,"fomValid":1,"efom":4,"efomValid":0,)"
    R"("horizontalPositionError_m":1.5,"horizontalPositionErrorValid":1,"verticalPositionError_m":"nan",)"
    R"("verticalPositionErrorValid":1}})";

}  // namespace

TEST_F(PageModelTest, AnEmptyModelHasNothingOfTheBus)
{
    EXPECT_TRUE(section("navigation").is_null());
    EXPECT_EQ(section("track"), Json::array());
    EXPECT_TRUE(section("position").is_null());
    EXPECT_EQ(section("status")["serviceRuns"], false);
}

TEST_F(PageModelTest, TheTrackIsInMetresFromItsFirstPoint)
{
    take(0, solution(0.5, 0.25));
    take(1000, solution(0.5 + 1e-5, 0.25));
    take(2000, solution(0.5, 0.25 + 1e-5));
    EXPECT_EQ(section("track"), Json::parse("[[0.0,0.0],[0.0,63.78],[55.97,0.0]]"));
}

TEST_F(PageModelTest, TheTrackCrossesTheDateLine)
{
    take(0, solution(0, std::numbers::pi - 1e-6));
    take(1000, solution(0, -std::numbers::pi + 1e-6));
    EXPECT_EQ(section("track"), Json::parse("[[0.0,0.0],[12.76,0.0]]"));
}

TEST_F(PageModelTest, WhatIsNoPlaceIsToldAndNotInTheTrack)
{
    take(0, solution(std::numeric_limits<double>::quiet_NaN(), 0));
    take(1000, solution(2, 0));
    EXPECT_EQ(section("track"), Json::array());
    EXPECT_EQ(section("position")["error"], "the latest position is no place");
}

TEST_F(PageModelTest, ThePositionHasItsEllipse)
{
    auto message = solution(0.5, 0.25);
    message.covariance()[0][0] = 4;
    message.covariance()[1][1] = 1;
    message.attitude()[2] = std::numbers::pi / 2;
    message.velocity() = {3, 4, 0};
    take(0, message);
    const Json position = section("position");
    EXPECT_EQ(position["latitudeDegrees"], 28.6478898);
    EXPECT_EQ(position["headingDegrees"], 90.0);
    EXPECT_EQ(position["speed"], 5.0);
    EXPECT_EQ(position["ellipse"]["majorMetres"], 4.895);
    message.covariance()[0][0] = -1;
    take(1000, message);
    EXPECT_TRUE(section("position")["ellipse"].is_null());
}

TEST_F(PageModelTest, WhatWasToldLastIsShownWithItsAge)
{
    takeLine(500, kNavigation);
    EXPECT_EQ(section("navigation")["record"]["fom"], 3);
    EXPECT_EQ(section("ages", 2000)["navigation"], 1.5);
    takeLine(600, R"({"type":"tell","tell":"navwar-sa","last":true,"record":{"threats":[]}})");
    EXPECT_TRUE(section("ages")["navwar"].is_null());
    EXPECT_FALSE(section("ages").contains("warnings"));
}

TEST_F(PageModelTest, TheCourseOfErrorsHasOnlyWhatIsValid)
{
    takeLine(2000, kNavigation);
    const Json errors = section("errors");
    EXPECT_EQ(errors["seconds"], Json::parse("[2.0]"));
    EXPECT_EQ(errors["horizontal"], Json::parse("[1.5]"));
    EXPECT_EQ(errors["vertical"], Json::parse("[null]"));
    EXPECT_EQ(errors["fom"], Json::parse("[3]"));
    EXPECT_EQ(errors["efom"], Json::parse("[null]"));
}

TEST_F(PageModelTest, APastTellIsNoPointOfTheCourse)
{
    takeLine(0, R"({"type":"tell","tell":"blended-navigation","last":true,"record":{"fom":3,"fomValid":1}})");
    EXPECT_EQ(section("errors")["seconds"], Json::array());
}

TEST_F(PageModelTest, TheServiceRunsFromItsStartToItsDeletionOrTheEndOfTheBus)
{
    takeLine(0, R"({"type":"service","event":"started","phase":"started"})");
    EXPECT_EQ(section("status")["serviceRuns"], true);
    takeLine(0, R"({"type":"service","event":"deleted","phase":"started"})");
    EXPECT_EQ(section("status")["serviceRuns"], false);
    takeLine(0, R"({"type":"service","event":"started","phase":"started"})");
    model.takeBusGone();
    EXPECT_EQ(section("status", 0, {}, "the bus has closed")["serviceRuns"], false);
    EXPECT_EQ(section("status", 0, {}, "the bus has closed")["busTrouble"], "the bus has closed");
}

TEST_F(PageModelTest, OfTheRecorderIsToldOnceThereWasOne)
{
    model.takeRecorder(std::nullopt, at(0));
    EXPECT_TRUE(section("status")["recorder"].is_null());
    model.takeRecorder(RecorderReading{6, "", 0}, at(500));
    model.takeRecorder(std::nullopt, at(600));
    EXPECT_TRUE(section("status")["recorder"].is_null());  // it has ended at once
    model.takeRecorder(RecorderReading{7, "", 0}, at(900));
    model.takeRecorder(RecorderReading{7, "/tmp/drive.mcap", 0}, at(1000));
    EXPECT_EQ(section("status", 2000)["recorder"],
              Json::parse(R"({"id":7,"file":"/tmp/drive.mcap","others":0,"goneSeconds":null})"));
    model.takeRecorder(std::nullopt, at(2000));
    EXPECT_EQ(section("status", 13'000)["recorder"],
              Json::parse(R"({"id":7,"file":"/tmp/drive.mcap","others":0,"goneSeconds":12.0})"));
    model.takeRecorder(RecorderReading{8, "", 1}, at(13'000));
    EXPECT_EQ(section("status", 13'000)["recorder"]["goneSeconds"], 12.0);
    model.takeRecorder(RecorderReading{8, "", 1}, at(14'000));
    EXPECT_EQ(section("status", 15'000)["recorder"],
              Json::parse(R"({"id":8,"file":"","others":1,"goneSeconds":null})"));
}

TEST_F(PageModelTest, OddLinesArePassedOver)
{
    for (const char* const text : {"", "null", "[1]", "{}", R"({"type":7})", R"({"type":"tell"})",
                                   R"({"type":"tell","tell":"x"})", R"({"type":"tell","tell":"blended-navigation"})",
                                   R"({"type":"tell","tell":"blended-navigation","record":7})"})
        takeLine(0, text);
    EXPECT_EQ(section("errors")["seconds"], Json::array());
}

TEST_F(PageModelTest, MoreThanABusCanTellIsCut)
{
    Json line = {{"type", "tell"}, {"tell", "warning-messages"}, {"record", {{"warnings", Json::array()}}}};
    for (int i = 0; i < 1000; ++i) line["record"]["warnings"].push_back({{"customText", std::string(10'000, 'x')}});
    model.takeBusLine(line, at(0));
    const Json warnings = section("warnings")["record"]["warnings"];
    EXPECT_EQ(warnings.size(), 50U);
    EXPECT_EQ(warnings[0]["customText"].get<std::string>().size(), 512U);
}

TEST_F(PageModelTest, InputsTopicsAndEventsAreThoseOfTheView)
{
    TopView view;
    view.inputs = {{"UTCTime", 0.25, std::nullopt}};
    view.join = "join rate 1.00 (3 of 3)";
    view.topics.resize(1);
    view.topics[0].name = "UTCTime";
    view.topics[0].rateHz = 1.0;
    view.events = {"83.207 OrvaneServer (52) INFORMATION it runs"};
    EXPECT_EQ(section("inputs", 0, view)["rows"][0]["ageSeconds"], 0.3);
    EXPECT_TRUE(section("inputs", 0, view)["rows"][0]["offsetSeconds"].is_null());
    EXPECT_EQ(section("inputs", 0, view)["join"], "join rate 1.00 (3 of 3)");
    EXPECT_EQ(section("topics", 0, view)[0]["rateHz"], 1.0);
    EXPECT_EQ(section("events", 0, view)[0], "83.207 OrvaneServer (52) INFORMATION it runs");
}
