#include "utilities/Stats.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <limits>

namespace {

/// Sets what no test could reach by observing.
struct LongSeries : Stats {
    LongSeries(std::uint32_t observed, double total) : Stats(true, true)
    {
        count = observed;
        sum = total;
    }
};

struct Figures {
    unsigned count = 77;
    double minimum = 0.5, maximum = 0.5, average = 0.5, rms = 0.5, deviation = 0.5;
};

Figures figuresOf(const Stats& stats)
{
    Figures all;
    stats.GetStatistics(all.count, all.minimum, all.maximum, all.average, all.rms, all.deviation);
    return all;
}

Stats seriesOf(bool deviation, bool rms, std::initializer_list<double> values)
{
    Stats stats(deviation, rms);
    for (const double value : values) stats.ObserveValue(value);
    return stats;
}

}  // namespace

TEST(StatsTest, EmptySeriesWritesTheCountAlone)
{
    const Stats stats(true, true);
    const Figures all = figuresOf(stats);
    EXPECT_EQ(all.count, 0u);
    EXPECT_EQ(all.minimum, 0.5);
    EXPECT_EQ(all.maximum, 0.5);
    EXPECT_EQ(all.average, 0.5);
    EXPECT_EQ(all.rms, 0.5);
    EXPECT_EQ(all.deviation, 0.5);
    EXPECT_EQ(stats.GetAverage(), 0.0);
    EXPECT_EQ(stats.GetRMS(), 0.0);
    EXPECT_EQ(stats.GetStandardDeviation(), 0.0);
}

TEST(StatsTest, MaximumOfNegativeValuesIsTheSmallestPositiveNumber)
{
    const Figures all = figuresOf(seriesOf(false, false, {-5.0, -3.0}));
    EXPECT_EQ(all.maximum, 2.2250738585072014e-308);
    EXPECT_EQ(all.minimum, -5.0);
    EXPECT_EQ(all.average, -4.0);
}

TEST(StatsTest, MinimumStartsAtTheGreatestNumber)
{
    const Figures all = figuresOf(seriesOf(false, false, {std::numeric_limits<double>::infinity()}));
    EXPECT_EQ(all.minimum, 1.7976931348623157e308);
}

TEST(StatsTest, DeviationIsAVarianceOverRunningMeans)
{
    // Means 1, 2, 4: distances 0, 1, 4; (0 + 1 + 16) / 2.
    const Stats stats = seriesOf(true, false, {1.0, 3.0, 8.0});
    EXPECT_EQ(stats.GetStandardDeviation(), 8.5);
    EXPECT_EQ(figuresOf(stats).deviation, 8.5);
}

TEST(StatsTest, OneValueHasNoDeviation)
{
    const Stats stats = seriesOf(true, true, {4.0});
    EXPECT_EQ(stats.GetStandardDeviation(), 0.0);
    EXPECT_EQ(figuresOf(stats).deviation, 0.5);
    EXPECT_EQ(figuresOf(stats).rms, 4.0);
}

TEST(StatsTest, RootMeanSquareNeedsItsFlag)
{
    EXPECT_EQ(seriesOf(false, true, {1.0, -7.0}).GetRMS(), 5.0);
    EXPECT_EQ(figuresOf(seriesOf(false, true, {1.0, -7.0})).rms, 5.0);
    EXPECT_EQ(seriesOf(true, false, {1.0, -7.0}).GetRMS(), 0.0);
    EXPECT_EQ(figuresOf(seriesOf(true, false, {1.0, -7.0})).rms, 0.5);
}

TEST(StatsTest, DeviationNeedsItsFlag)
{
    EXPECT_EQ(seriesOf(false, true, {1.0, 3.0}).GetStandardDeviation(), 0.0);
    EXPECT_EQ(figuresOf(seriesOf(false, true, {1.0, 3.0})).deviation, 0.5);
}

TEST(StatsTest, ResetStartsANewSeries)
{
    Stats stats = seriesOf(true, true, {100.0, -50.0});
    stats.ResetStatistics();
    EXPECT_EQ(figuresOf(stats).count, 0u);
    stats.ObserveValue(-2.0);
    stats.ObserveValue(-4.0);
    const Figures all = figuresOf(stats);
    EXPECT_EQ(all.count, 2u);
    EXPECT_EQ(all.minimum, -4.0);
    EXPECT_EQ(all.maximum, 2.2250738585072014e-308);
    EXPECT_EQ(all.average, -3.0);
    EXPECT_DOUBLE_EQ(all.rms, 3.1622776601683795);
    EXPECT_EQ(all.deviation, 1.0);
}

TEST(StatsTest, FullSeriesIgnoresFurtherValues)
{
    LongSeries stats(0xFFFFFFFFu, 0.0);
    stats.ObserveValue(5.0);
    const Figures all = figuresOf(stats);
    EXPECT_EQ(all.count, 0xFFFFFFFFu);
    EXPECT_EQ(all.average, 0.0);
    EXPECT_EQ(all.maximum, 2.2250738585072014e-308);
    EXPECT_EQ(all.rms, 0.0);
}

TEST(StatsTest, LastPlaceOfTheSeriesIsUsed)
{
    LongSeries stats(0xFFFFFFFEu, 4294967290.0);
    stats.ObserveValue(5.0);
    EXPECT_EQ(figuresOf(stats).count, 0xFFFFFFFFu);
    EXPECT_EQ(stats.GetAverage(), 1.0);
}
