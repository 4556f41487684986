#include "lab/ctl/serve/ReplayPosition.h"

#include <gtest/gtest.h>

#include <poll.h>

using namespace orvanectl;
using namespace std::chrono_literals;

namespace {

const ReplayPosition::Time kStart = ReplayPosition::Time(100s);

/// Of 60 s, begun at `kStart`.
struct ReplayPositionTest : testing::Test {
    std::string change(const char* request, ReplayPosition::Time now = kStart)
    {
        return position.change(Json::parse(request, nullptr, false), now).dump();
    }

    ReplayPosition::State at(std::chrono::milliseconds behind) { return position.at(kStart + behind); }

    using Json = ReplayPosition::Json;
    ReplayPosition position{60s, kStart};
};

}  // namespace

TEST_F(ReplayPositionTest, ItBeginsAtTheFrontPaused)
{
    EXPECT_EQ(at(5s).place, 0s);
    EXPECT_TRUE(at(5s).isPaused);
    EXPECT_EQ(at(5s).rate, 1);
}

TEST_F(ReplayPositionTest, ItMovesAtItsRateOncePlayed)
{
    EXPECT_EQ(change(R"({"paused":false})"), R"({"ok":true,"changes":1})");
    EXPECT_EQ(change(R"({"rate":10})", kStart + 2s), R"({"ok":true,"changes":2})");
    EXPECT_EQ(at(3s).place, 12s);
    change(R"({"paused":true})", kStart + 4s);
    EXPECT_EQ(at(9s).place, 22s);
}

TEST_F(ReplayPositionTest, ItStopsAtTheEndAndIsPlayedFromTheFrontAgain)
{
    change(R"({"paused":false})");
    EXPECT_FALSE(at(59s).isPaused);
    EXPECT_EQ(at(61s).place, 60s);
    EXPECT_TRUE(at(61s).isPaused);
    change(R"({"paused":false})", kStart + 70s);
    EXPECT_EQ(at(71s).place, 1s);
}

TEST_F(ReplayPositionTest, APlaceIsGoneToAndIsWithinTheRecording)
{
    change(R"({"to":12.5})");
    EXPECT_EQ(at(0s).place, 12500ms);
    change(R"({"to":-1})");
    EXPECT_EQ(at(0s).place, 0s);
    change(R"({"to":1e300})");
    EXPECT_EQ(at(0s).place, 60s);
}

TEST_F(ReplayPositionTest, AStepPausesAndWaitsToBeDone)
{
    change(R"({"paused":false})");
    change(R"({"step":-1})", kStart + 3s);
    const auto state = at(9s);
    EXPECT_TRUE(state.isPaused);
    EXPECT_EQ(state.place, 3s);
    EXPECT_EQ(state.steps, -1);
    position.goOnFrom(2500ms, state.changes, -1, kStart + 9s);
    EXPECT_EQ(at(9s).place, 2500ms);
    EXPECT_EQ(at(9s).steps, 0);
}

TEST_F(ReplayPositionTest, AStepThatIsDoneLateMovesNothingAnyMore)
{
    change(R"({"step":1})");
    const auto state = at(0s);
    change(R"({"to":40})");
    position.goOnFrom(1s, state.changes, 1, kStart);
    EXPECT_EQ(at(0s).place, 40s);
    EXPECT_EQ(at(0s).steps, 0);
}

TEST_F(ReplayPositionTest, TimeStandsStillWhereItIsSentBack)
{
    change(R"({"paused":false})");
    const auto state = at(4s);
    position.goOnFrom(state.place, state.changes, 0, kStart + 6s);
    EXPECT_EQ(at(7s).place, 5s);
}

TEST_F(ReplayPositionTest, WhatIsNoChangeIsRefusedAndChangesNothing)
{
    for (const char* const request :
         {"", "7", "[]", "{}", R"({"x":1})", R"({"to":1,"rate":2})", R"({"to":"5"})", R"({"to":null})",
          R"({"to":1e999})", R"({"paused":1})", R"({"rate":0})", R"({"rate":-1})", R"({"rate":1001})",
          R"({"rate":"2"})", R"({"step":0})", R"({"step":2})", R"({"step":1.5})", R"({"step":true})"})
        EXPECT_NE(change(request).find(R"("ok":false,"error":")"), std::string::npos) << request;
    EXPECT_EQ(at(5s).place, 0s);
    EXPECT_EQ(at(5s).changes, 0U);
}

TEST_F(ReplayPositionTest, StepsThatWaitAreBounded)
{
    for (int i = 0; i < 1000; ++i) change(R"({"step":1})");
    EXPECT_EQ(at(0s).steps, 100);
}

TEST_F(ReplayPositionTest, AChangeWakesWhoWaitsForOne)
{
    pollfd waiting = {position.descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&waiting, 1, 0), 0);
    change(R"({"to":1})");
    EXPECT_EQ(::poll(&waiting, 1, 0), 1);
    (void)at(0s);
    EXPECT_EQ(::poll(&waiting, 1, 0), 0);
}

TEST(ReplayPositionLengthTest, OneOfYearsIsReachedToItsEnd)
{
    constexpr auto kLength = std::chrono::nanoseconds(4'500'000'000'123'456'789);
    ReplayPosition position(kLength, kStart);
    position.change({{"to", 1e18}}, kStart);
    EXPECT_EQ(position.at(kStart).place, kLength);
    position.change({{"paused", false}}, kStart);
    position.change({{"rate", 1000}}, kStart);
    EXPECT_EQ(position.at(kStart + 10s).place, 10000s);
}
