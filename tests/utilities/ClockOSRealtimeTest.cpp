#include "utilities/ClockOSRealtime.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <iostream>
#include <streambuf>
#include <string>
#include <utility>
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

namespace {

/// Keeps the first and the last lines of very many.
class Ends : public std::streambuf {
public:
    std::vector<std::string> first;  // up to four
    std::string last, lastButOne;

protected:
    std::streamsize xsputn(const char* characters, std::streamsize count) override
    {
        for (std::streamsize i = 0; i < count; ++i) overflow(traits_type::to_int_type(characters[i]));
        return count;
    }
    int_type overflow(int_type character) override
    {
        if (character != '\n') {
            m_line += traits_type::to_char_type(character);
            return character;
        }
        if (first.size() < 4) first.push_back(m_line);
        lastButOne = std::exchange(last, std::exchange(m_line, ""));
        return character;
    }

private:
    std::string m_line;
};

}  // namespace

TEST(ClockOSRealtimeTest, ConsoleCheckPrintsReadingsUntilTheSecondChanges)
{
    Ends lines;
    std::streambuf* const previous = std::cout.rdbuf(&lines);
    ClockOSRealtime().test_time();
    std::cout.rdbuf(previous);
    ASSERT_GE(lines.first.size(), 3u);
    EXPECT_EQ(lines.first[0], "Print out time hacks over a second rollover and make sure the diff");
    EXPECT_EQ(lines.first[1], "values are calculated correctly.");
    for (const std::string& line : {lines.first[2], lines.first.back(), lines.last}) {
        ASSERT_EQ(line.size(), 52u) << line;
        ASSERT_EQ(line.substr(0, 6) + line[26] + line[39], "now= ,,,") << line;
    }
    const Row last = parse(lines.last);
    EXPECT_GE(last.tag, 0.0);
    EXPECT_LT(last.tag, 60.0);
    EXPECT_GE(last.nanoseconds, 0);
    if (lines.first.size() > 3) {
        EXPECT_LT(parse(lines.first[2]).seconds, last.seconds);
        EXPECT_EQ(parse(lines.lastButOne).seconds, parse(lines.first[2]).seconds);
    }
}
