#include "utilities/ClockOSRealtime.h"
#include "tests/support/ConsoleCapture.h"
#include "utilities/StringUtils.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

namespace {

double monotonic()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

struct Row {
    double tag = -1;
    long seconds = -1, nanoseconds = -1;
};

Row parse(const std::string& line)
{
    Row row;
    std::sscanf(line.c_str(), "now= ,%lf,%ld,%ld", &row.tag, &row.seconds, &row.nanoseconds);
    return row;
}

}  // namespace

TEST(ClockOSRealtimeTest, TimeTagCountsMonotonicSecondsFromTheStart)
{
    const double before = monotonic();
    const ClockOSRealtime clock;
    const double started = monotonic();
    while (monotonic() - started < 0.01) {
    }
    const double atLeast = monotonic() - started;
    const double tag = clock.GetCurrentTimeTag();
    const double atMost = monotonic() - before;
    EXPECT_GE(tag, atLeast);
    EXPECT_LE(tag, atMost);
}

TEST(ClockOSRealtimeTest, StartCanBeMovedToNow)
{
    ClockOSRealtime clock;
    const double begun = monotonic();
    while (monotonic() - begun < 0.02) {
    }
    const double before = monotonic();
    clock.StartDoubleTimingFromNow();
    const double tag = clock.GetCurrentTimeTag();
    EXPECT_GE(tag, 0.0);
    EXPECT_LE(tag, monotonic() - before);
}

TEST(ClockOSRealtimeTest, RawTimeIsTheMonotonicReadingBehindTheTag)
{
    const ClockOSRealtime clock;
    timespec raw = {};
    const double before = monotonic();
    const double first = clock.GetCurrentTimeTagEx(&raw);
    const double reading = static_cast<double>(raw.tv_sec) + static_cast<double>(raw.tv_nsec) / 1e9;
    EXPECT_GE(reading, before);
    EXPECT_LE(reading, monotonic());
    EXPECT_GE(first, 0.0);
    EXPECT_GE(clock.GetCurrentTimeTagEx(nullptr), first);
}

TEST(ClockOSRealtimeTest, TimeAsDoubleDividesTheNanoseconds)
{
    EXPECT_EQ(ClockOSRealtime::timespecAsDouble({12, 500000000}), 12.5);
    EXPECT_EQ(ClockOSRealtime::timespecAsDouble({0, 1}), 1e-9);
    EXPECT_EQ(ClockOSRealtime::timespecAsDouble({1000000, 999999999}), 1000000.999999999);
}

TEST(ClockOSRealtimeTest, ConsoleCheckPrintsReadingsUntilTheSecondChanges)
{
    std::string text;
    {
        const ConsoleCapture console(std::cout);
        ClockOSRealtime().test_time();
        text = console.text();
    }
    const std::vector<std::string> lines = StringUtils::split(text, '\n');
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[0], "Print out time hacks over a second rollover and make sure the diff");
    EXPECT_EQ(lines[1], "values are calculated correctly.");
    for (std::size_t i = 2; i < lines.size(); ++i) {
        ASSERT_EQ(lines[i].size(), 52u) << lines[i];
        ASSERT_EQ(lines[i].substr(0, 6) + lines[i][26] + lines[i][39], "now= ,,,") << lines[i];
    }
    const Row last = parse(lines.back());
    EXPECT_GE(last.tag, 0.0);
    EXPECT_LT(last.tag, 60.0);
    EXPECT_GE(last.nanoseconds, 0);
    if (lines.size() > 3) {
        EXPECT_LT(parse(lines[2]).seconds, last.seconds);
        EXPECT_EQ(parse(lines[lines.size() - 2]).seconds, parse(lines[2]).seconds);
    }
    EXPECT_EQ(text.back(), '\n');
}
