#include "lab/ctl/play/Timeline.h"

#include <gtest/gtest.h>

using namespace orvanectl;
using namespace std::chrono_literals;

namespace {

const Timeline::Time kStart = Timeline::Time(100s);

}  // namespace

TEST(TimelineTest, PlaceMovesAtTheRate)
{
    const Timeline timeline(kStart, 10, false);
    EXPECT_EQ(timeline.at(kStart + 2s), Timeline::Place(20s));
    EXPECT_EQ(timeline.reaches(30s), kStart + 3s);
}

TEST(TimelineTest, UsualRateIsExactBeyondWhatADoubleHolds)
{
    const Timeline timeline(kStart, 1, false);
    EXPECT_EQ(timeline.at(kStart + 9007199254740993ns), 9007199254740993ns);
    EXPECT_EQ(timeline.reaches(9007199254740993ns), kStart + 9007199254740993ns);
}

TEST(TimelineTest, PausedOneStandsAndReachesNothing)
{
    Timeline timeline(kStart, 1, false);
    timeline.pause(kStart + 2s);
    EXPECT_EQ(timeline.at(kStart + 9s), Timeline::Place(2s));
    EXPECT_FALSE(timeline.reaches(1s));
    timeline.resume(kStart + 9s);
    EXPECT_EQ(timeline.at(kStart + 10s), Timeline::Place(3s));
    EXPECT_EQ(timeline.reaches(4s), kStart + 11s);
}

TEST(TimelineTest, OtherRateGoesOnFromWhereItIs)
{
    Timeline timeline(kStart, 1, false);
    timeline.setRate(4, kStart + 2s);
    EXPECT_EQ(timeline.at(kStart + 3s), Timeline::Place(6s));
    EXPECT_EQ(timeline.reaches(10s), kStart + 4s);
}

TEST(TimelineTest, MomentBeforeTheLatestChangeCountsAsThat)
{
    Timeline timeline(kStart, 1, false);
    timeline.setRate(10, kStart + 2s);
    EXPECT_EQ(timeline.at(kStart + 1s), Timeline::Place(2s));
    timeline.setRate(1, kStart + 1s);
    EXPECT_EQ(timeline.at(kStart + 3s), Timeline::Place(3s));
}

TEST(TimelineTest, JumpOfAPausedOneStaysThere)
{
    Timeline timeline(kStart, 2, true);
    timeline.jump(7s, kStart + 1s);
    EXPECT_EQ(timeline.at(kStart + 5s), Timeline::Place(7s));
    EXPECT_TRUE(timeline.isPaused());
}

TEST(TimelineTest, FarthestPlaceAtTheLowestRateIsInThirtyYears)
{
    const Timeline timeline(kStart, 0.001, false);
    EXPECT_EQ(timeline.reaches(Timeline::Place::max() / 4), kStart + 30 * 365 * 24h);
    EXPECT_EQ(Timeline(kStart, 1, false).reaches(Timeline::Place::max() / 4), kStart + 30 * 365 * 24h);
}
