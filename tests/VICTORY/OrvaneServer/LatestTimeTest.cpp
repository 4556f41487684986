#include "VICTORY/OrvaneServer/LatestTime.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/Meanwhile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <iostream>

using aspn2_msgs::idl::UTCTime;
using namespace std::chrono_literals;

namespace {

/// 6 November 2022, 0:01:22 UTC.
UTCTime message()
{
    UTCTime time;
    time.gps_week(2235);
    time.gps_tow_sec(100);
    time.gps_tow_nsec(5e8);
    time.utc_tod_sec(82);
    time.utc_tod_nsec(31'250'000.0);
    return time;
}

/// Runs an action on another thread while the time is converted; false if it is over before that is.
bool waitsForTheConversion(const LatestTime& time, const std::function<void()>& action)
{
    const HardDeadline deadline;
    const ConsoleCapture console(std::cout);
    bool isOverTooEarly = true;
    Meanwhile other(action);
    const BeforeNextLine timeIsPrinted([&] { isOverTooEarly = other.isOverWithin(100ms); });
    time.victoryTime(true);
    other.join();
    return !isOverTooEarly;
}

}  // namespace

TEST(LatestTimeTest, BeforeTheFirstMessageThereIsNoTime)
{
    EXPECT_EQ(LatestTime().gpsSeconds(), 0.0);
    EXPECT_EQ(LatestTime().victoryTime(false).hour, 0U);
}

TEST(LatestTimeTest, GivesTheSecondsOfTheWeekAndTheDate)
{
    LatestTime time;
    time.store(message());
    EXPECT_DOUBLE_EQ(time.gpsSeconds(), 100.5);
    const auto told = time.victoryTime(false);
    EXPECT_EQ(told.year, 2022U);
    EXPECT_EQ(told.month, 11U);
    EXPECT_EQ(told.day, 6U);
    EXPECT_EQ(told.hour, 0U);
    EXPECT_EQ(told.minute, 1U);
    EXPECT_EQ(told.seconds, 22U);
    EXPECT_EQ(told.nanoseconds, 31'250'000U);
}

TEST(LatestTimeTest, ANewerMessageReplacesTheOlder)
{
    LatestTime time;
    time.store(message());
    time.store({});
    EXPECT_EQ(time.gpsSeconds(), 0.0);
    EXPECT_EQ(time.victoryTime(false).minute, 0U);
}

TEST(LatestTimeTest, IsPrintedInOneRunOfNumbersWithNineDigitsIfWanted)
{
    LatestTime time;
    time.store(message());
    const ConsoleCapture console(std::cout);
    time.victoryTime(false);
    EXPECT_EQ(console.text(), "");
    time.victoryTime(true);
    EXPECT_THAT(console.text(),
                testing::MatchesRegex("OrvaneServer, set_VictoryTime \\([0-9]+\\) 2022116:0122\\.031250000\n"));
}

TEST(LatestTimeTest, IsNotReplacedWhileItIsConverted)
{
    LatestTime time;
    EXPECT_TRUE(waitsForTheConversion(time, [&] { time.store({}); }));
}

TEST(LatestTimeTest, SecondsAreReadUnderTheLockOfTheTime)
{
    const LatestTime time;
    EXPECT_TRUE(waitsForTheConversion(time, [&] { time.gpsSeconds(); }));
}
