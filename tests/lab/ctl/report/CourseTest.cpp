#include "lab/ctl/report/Course.h"
#include "lab/ctl/report/EndsList.h"
#include "lab/ctl/report/Regularity.h"
#include "lab/ctl/report/Spread.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace orvanectl;

TEST(CourseTest, PeaksOfAMomentStayInALongCourse)
{
    Course course(600, 0.25);
    for (int second = 0; second < 86'400; ++second) course.append(second, second == 1 || second == 40'000 ? 99 : 1);
    EXPECT_LE(course.buckets().size(), 600U);
    std::uint64_t peaks = 0, count = 0;
    for (const Course::Bucket& bucket : course.buckets()) {
        peaks += bucket.high == 99 && bucket.low == 1 ? 1 : 0;
        count += bucket.count;
    }
    EXPECT_EQ(peaks, 2U);
    EXPECT_EQ(count, 86'400U);
}

TEST(CourseTest, BucketsTellTheirLeastGreatestAndMean)
{
    Course course(10, 1);
    course.append(0.1, 4);
    course.append(0.9, 1);
    course.append(1, 7);
    EXPECT_EQ(course.json(0.1).dump(),
              R"({"width":1.0,"seconds":[0.1,1.0],"low":[1.0,7.0],"high":[4.0,7.0],"mean":[2.5,7.0]})");
}

TEST(CourseTest, RatesAreValuesASecond)
{
    Course course(2, 1);
    for (const double second : {0.0, 0.5, 1.0, 3.0}) course.append(second, 1);
    EXPECT_EQ(course.ratesJson().dump(), R"({"width":2.0,"seconds":[0.0,2.0],"hertz":[1.5,0.5]})");
}

TEST(CourseTest, WhatIsNoNumberIsLeftOut)
{
    Course course;
    course.append(1, std::numeric_limits<double>::quiet_NaN());
    course.append(std::numeric_limits<double>::infinity(), 1);
    course.append(1e300, 1);
    EXPECT_TRUE(course.buckets().empty());
}

TEST(CourseTest, OneThatIsEarlierBelongsToTheLatest)
{
    Course course(10, 1);
    course.append(5, 1);
    course.append(3, 2);
    EXPECT_EQ(course.buckets().size(), 1U);
    EXPECT_EQ(course.buckets()[0].high, 2);
}

TEST(SpreadTest, QuantilesAreValuesThatWereThere)
{
    Spread spread;
    for (int value = 100; value >= 1; --value) spread.add(value);
    EXPECT_EQ(spread.json(1).dump(), R"({"count":100,"least":1.0,"median":50.0,"p95":95.0,"most":100.0})");
}

TEST(SpreadTest, OfManyValuesTheGreatestIsExact)
{
    Spread spread;
    for (int value = 0; value < 300'000; ++value) spread.add(value);
    EXPECT_EQ(spread.quantile(1), 299'999);
    EXPECT_NEAR(spread.quantile(0.5), 150'000, 10);
    EXPECT_EQ(spread.count(), 300'000U);
}

TEST(SpreadTest, WithoutValuesThereIsNone)
{
    Spread spread;
    spread.add(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(spread.json(1), nullptr);
    EXPECT_TRUE(std::isnan(spread.quantile(0.5)));
}

TEST(EndsListTest, WhatIsBetweenTheEndsIsCounted)
{
    EndsList<int> list(2);
    for (int value = 1; value <= 7; ++value) list.add(value);
    EXPECT_EQ(list.values(), (std::vector<int>{1, 2, 6, 7}));
    EXPECT_EQ(list.leftOut(), 3U);
}

TEST(RegularityTest, PauseOfTwoIntervalsIsAGap)
{
    Regularity regularity;
    for (const double second : {0, 1, 2, 3, 4, 6, 7, 8}) regularity.take(second);
    EXPECT_EQ(regularity.gapCount(), 1U);
    EXPECT_EQ(regularity.json()["gaps"].dump(), "[[4.0,6.0]]");
    EXPECT_EQ(regularity.json()["longestGap"], 2.0);
}

TEST(RegularityTest, UnevenIntervalsAreNoGaps)
{
    Regularity regularity;
    for (const double second : {0.0, 1.1, 2.0, 2.9, 4.4, 5.0, 6.4}) regularity.take(second);
    EXPECT_EQ(regularity.gapCount(), 0U);
}

TEST(RegularityTest, OfManyGapsTheLongestAreKept)
{
    Regularity regularity;
    double now = 0;
    for (int i = 0; i < 4; ++i) regularity.take(now += 1);
    for (int gap = 0; gap < 1000; ++gap) {
        for (int i = 0; i < 9; ++i) regularity.take(now += 1);
        regularity.take(now += gap == 17 ? 500 : 5);
    }
    EXPECT_EQ(regularity.gapCount(), 1000U);
    EXPECT_EQ(regularity.gaps().size(), Regularity::kMostGaps);
    EXPECT_EQ(regularity.json()["longestGap"], 500.0);
    EXPECT_EQ(regularity.gapSeconds(), 999 * 5 + 500);
}
