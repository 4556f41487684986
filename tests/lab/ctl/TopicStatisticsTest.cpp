#include "lab/ctl/TopicStatistics.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace orvanectl;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();

SequenceHoles holesOf(const std::vector<std::int64_t>& numbers)
{
    SequenceTrack track;
    SequenceHoles holes;
    for (const std::int64_t number : numbers) track.take(number, holes);
    return holes;
}

TopicStatistics::Time at(milliseconds time)
{
    return TopicStatistics::Time(time);
}

TopicStatistics::Arrival arrivalAt(milliseconds time, std::int64_t number = 0)
{
    return {at(time), {}, number, 7, number};
}

/// A window of ten seconds with arrivals at these milliseconds.
TopicStatistics arrivedAt(const std::vector<int>& times)
{
    TopicStatistics statistics(seconds(10));
    for (const int time : times) statistics.take(arrivalAt(milliseconds(time)));
    return statistics;
}

}  // namespace

TEST(SequenceTrackTest, NumbersOneBehindTheOtherHaveNoHole)
{
    EXPECT_EQ(holesOf({5, 6, 7}), SequenceHoles());
    EXPECT_EQ(holesOf({-1, 0, 1}), SequenceHoles());
    EXPECT_EQ(holesOf({kLowest, kLowest + 1}), SequenceHoles());
}

TEST(SequenceTrackTest, TheFirstNumberIsNoGap)
{
    EXPECT_EQ(holesOf({1000}), SequenceHoles());
}

TEST(SequenceTrackTest, AGapCountsOnceAndEachMissingNumber)
{
    EXPECT_EQ(holesOf({0, 1, 5, 6, 8}), SequenceHoles({.gaps = 2, .missing = 4, .back = 0}));
}

TEST(SequenceTrackTest, WhatIsNotHigherIsNoGapAndTheCountGoesOnFromThere)
{
    EXPECT_EQ(holesOf({5, 5}), SequenceHoles({.gaps = 0, .missing = 0, .back = 1}));
    EXPECT_EQ(holesOf({9, 0, 1, 2}), SequenceHoles({.gaps = 0, .missing = 0, .back = 1}));
}

TEST(SequenceTrackTest, TheWidestGapIsCountedAndTheSumStaysThere)
{
    EXPECT_EQ(holesOf({kLowest, kHighest}), SequenceHoles({.gaps = 1, .missing = 18446744073709551614ULL, .back = 0}));
    EXPECT_EQ(holesOf({kLowest, kHighest, kLowest, kHighest}),
              SequenceHoles({.gaps = 2, .missing = 18446744073709551615ULL, .back = 1}));
}

TEST(TopicStatisticsTest, RateIsTheIntervalsByTheirTime)
{
    TopicStatistics statistics = arrivedAt({0, 500, 1000, 2000});
    EXPECT_DOUBLE_EQ(statistics.rate(at(seconds(2))).value(), 1.5);
    EXPECT_DOUBLE_EQ(statistics.longestInterval(at(seconds(2))).value(), 1.0);
    EXPECT_EQ(statistics.count(), 4U);
}

TEST(TopicStatisticsTest, RateNeedsTwoRecordsAndTimeBetweenThem)
{
    EXPECT_EQ(arrivedAt({}).rate(at(seconds(1))), std::nullopt);
    EXPECT_EQ(arrivedAt({0}).rate(at(seconds(1))), std::nullopt);
    EXPECT_EQ(arrivedAt({0, 0}).rate(at(seconds(1))), std::nullopt);
    EXPECT_EQ(arrivedAt({0, 0}).longestInterval(at(seconds(1))), std::nullopt);
}

TEST(TopicStatisticsTest, OnlyTheWindowCounts)
{
    TopicStatistics statistics = arrivedAt({0, 9000, 10'000});
    EXPECT_DOUBLE_EQ(statistics.rate(at(seconds(10))).value(), 0.2);  // as old as the window: in it
    EXPECT_DOUBLE_EQ(statistics.rate(at(milliseconds(10'001))).value(), 1.0);
    EXPECT_EQ(statistics.rate(at(milliseconds(19'001))), std::nullopt);
    EXPECT_EQ(statistics.count(), 3U);
}

TEST(TopicStatisticsTest, AWindowRemembersSoManyArrivals)
{
    TopicStatistics statistics(seconds(1'000'000));
    for (int i = 0; i <= 100'000; ++i) statistics.take(arrivalAt(milliseconds(i == 0 ? 0 : 1'000'000 + i)));
    EXPECT_DOUBLE_EQ(statistics.rate(at(milliseconds(1'100'000))).value(), 1000.0);
    EXPECT_EQ(statistics.count(), 100'001U);
}

TEST(TopicStatisticsTest, SourcesAreFollowedEachForItself)
{
    TopicStatistics statistics(seconds(10));
    for (const std::int32_t device : {1, 2}) {
        statistics.take({at(seconds(0)), {}, 2 * device, device, 100 * device});
        statistics.take({at(seconds(0)), {}, 2 * device + 1, device, 100 * device + 1});
    }
    TopicStatistics::Writer other{};
    other.back() = 1;
    statistics.take({at(seconds(0)), other, 1, 1, 0});  // a source that has begun anew is another writer
    EXPECT_EQ(statistics.holes(), SequenceHoles());
    EXPECT_EQ(statistics.lost(), 0U);
    EXPECT_EQ(statistics.sources(), (std::vector<std::int32_t>{1, 2}));
}

TEST(TopicStatisticsTest, WhatTheWriterSentAndDidNotArriveIsLost)
{
    TopicStatistics statistics(seconds(10));
    statistics.take({at(seconds(0)), {}, 3, 7, 10});
    statistics.take({at(seconds(1)), {}, 6, 7, 11});
    EXPECT_EQ(statistics.lost(), 2U);
    EXPECT_EQ(statistics.holes(), SequenceHoles());
}

TEST(TopicStatisticsTest, SourcesBeyondTheLimitAreCountedOnly)
{
    TopicStatistics statistics(seconds(10));
    for (std::int32_t device = 0; device < 300; ++device)
        for (const std::int64_t number : {0, 2}) statistics.take({at(seconds(0)), {}, 0, device, number});
    EXPECT_EQ(statistics.count(), 600U);
    EXPECT_EQ(statistics.holes().gaps, 256U);
    EXPECT_EQ(statistics.sources().size(), 256U);
}

TEST(TopicStatisticsTest, JitterIsTheDeviationOfTheIntervals)
{
    EXPECT_NEAR(*arrivedAt({0, 900, 2000}).jitter(at(milliseconds(2000))), 0.1, 1e-9);
    EXPECT_DOUBLE_EQ(*arrivedAt({0, 1000}).jitter(at(milliseconds(2000))), 0.0);
    EXPECT_FALSE(arrivedAt({0}).jitter(at(milliseconds(2000))));
    EXPECT_FALSE(arrivedAt({0, 1000}).jitter(at(milliseconds(20'000))));
}

TEST(TopicStatisticsTest, TheLastArrivalIsKnownHoweverOld)
{
    EXPECT_FALSE(arrivedAt({}).last());
    TopicStatistics statistics = arrivedAt({0, 700});
    EXPECT_FALSE(statistics.rate(at(milliseconds(60'000))));
    EXPECT_EQ(statistics.last(), at(milliseconds(700)));
}

TEST(TopicStatisticsTest, WhatAWriterSentBeforeItsFirstRecordHereIsNotLostButEarlier)
{
    TopicStatistics statistics(seconds(10));
    statistics.take(arrivalAt(milliseconds(0), 18));
    statistics.take(arrivalAt(milliseconds(1), 20));
    EXPECT_EQ(statistics.earlier(), 17U);
    EXPECT_EQ(statistics.lost(), 1U);
}

TEST(TopicStatisticsTest, WriterThatIsHeardFromItsFirstRecordHasNothingEarlier)
{
    TopicStatistics statistics(seconds(10));
    statistics.take(arrivalAt(milliseconds(0), 1));
    statistics.take({at(milliseconds(1)), {}, kHighest, 7, 2});
    EXPECT_EQ(statistics.earlier(), 0U);
}

TEST(TopicStatisticsTest, WhatIsPassedOverIsLostAsIsWhatIsMissingBeforeIt)
{
    TopicStatistics statistics(seconds(10));
    statistics.take(arrivalAt(milliseconds(0), 1));
    statistics.passOver(arrivalAt(milliseconds(1), 5), arrivalAt(milliseconds(1), 5));
    statistics.passOver(arrivalAt(milliseconds(1), 5), arrivalAt(milliseconds(1), 5));  // told again
    EXPECT_EQ(statistics.lost(), 4U);
    statistics.take(arrivalAt(milliseconds(2), 6));
    EXPECT_EQ(statistics.lost(), 4U);
    EXPECT_EQ(statistics.count(), 2U);
}

TEST(TopicStatisticsTest, WhatIsPassedOverOfAWriterWhoWasNotHeardIsLostAndNotEarlier)
{
    TopicStatistics statistics(seconds(10));
    statistics.passOver(arrivalAt(milliseconds(0), 3), arrivalAt(milliseconds(1), 10));
    EXPECT_EQ(statistics.lost(), 8U);
    EXPECT_EQ(statistics.earlier(), 2U);
}
