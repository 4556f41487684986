#include "utilities/TimeUtilities.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>

using namespace TimeUtilities;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::chrono::sys_days kGpsEpoch = std::chrono::year{1980} / 1 / 6;

struct Date {
    std::int32_t year = 0, month = 0, day = 0;
    bool operator==(const Date&) const = default;
};

Date civilDate(std::int32_t dayOfWeek, std::int32_t week)
{
    Date date;
    ToCivilDate(dayOfWeek, week, date.year, date.month, date.day);
    return date;
}

Date dateOf(std::chrono::sys_days day)
{
    const std::chrono::year_month_day date = day;
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

struct GpsDay {
    std::int32_t day = -99, week = -99;
    bool operator==(const GpsDay&) const = default;
};

GpsDay resolved(double gpsSecondsOfWeek, std::int32_t week, double utcSecondOfDay)
{
    GpsDay result;
    ResolveUtcDate(gpsSecondsOfWeek, week, utcSecondOfDay, result.day, result.week);
    return result;
}

Date monthDay(std::int32_t year, std::int32_t dayOfYear)
{
    Date date{.year = year};
    EXPECT_EQ(ToMonthDay(year, dayOfYear, date.month, date.day), date.month);
    return date;
}

}  // namespace

TEST(TimeUtilitiesTest, EveryDayTo2099IsThatOfTheCalendar)
{
    using std::chrono::days;
    for (std::chrono::sys_days day = std::chrono::year{1979} / 12 / 30; day < std::chrono::year{2100} / 1 / 1;
         day += days{1}) {
        const auto sinceEpoch = static_cast<std::int32_t>((day - kGpsEpoch).count());
        const std::int32_t week = (sinceEpoch + 7) / 7 - 1;
        ASSERT_EQ(civilDate(sinceEpoch - week * 7, week), dateOf(day)) << sinceEpoch;
    }
}

TEST(TimeUtilitiesTest, DaysOfTheYearTo2099AreThoseOfTheCalendar)
{
    using std::chrono::days;
    for (std::chrono::sys_days day = std::chrono::year{1980} / 1 / 1; day < std::chrono::year{2100} / 1 / 1;
         day += days{1}) {
        const Date date = dateOf(day);
        const std::chrono::sys_days newYear = std::chrono::year{date.year} / 1 / 1;
        const auto dayOfYear = static_cast<std::int32_t>((day - newYear).count() + 1);
        ASSERT_EQ(ToDayOfYear(date.year, date.month, date.day), dayOfYear) << date.year << ' ' << dayOfYear;
        ASSERT_EQ(monthDay(date.year, dayOfYear), date) << date.year << ' ' << dayOfYear;
    }
}

// Meeus, Astronomical Algorithms, 2nd edition, examples 7.a, 7.c, 7.f and 7.g, and its table of Julian days.
TEST(TimeUtilitiesTest, PublishedDates)
{
    const CivilDate sputnik = CivilDateFromJulianDay(2436116.31 + 0.5);
    EXPECT_EQ(sputnik.year, 1957.0);
    EXPECT_EQ(sputnik.month, 10.0);
    EXPECT_EQ(sputnik.day, 4.0);
    const CivilDate j2000 = CivilDateFromJulianDay(2451545.0 + 0.5);
    EXPECT_EQ(j2000.year, 2000.0);
    EXPECT_EQ(j2000.month, 1.0);
    EXPECT_EQ(j2000.day, 1.0);
    EXPECT_EQ(ToDayOfYear(1978, 11, 14), 318);
    EXPECT_EQ(ToDayOfYear(1988, 4, 22), 113);
    EXPECT_EQ(monthDay(1978, 318), (Date{1978, 11, 14}));
    EXPECT_EQ(monthDay(1988, 113), (Date{1988, 4, 22}));
}

// The two rollovers of the ten-bit week that receivers have seen.
TEST(TimeUtilitiesTest, WeekRolloversAreThePublishedDates)
{
    EXPECT_EQ(civilDate(0, 0), (Date{1980, 1, 6}));
    EXPECT_EQ(civilDate(0, 1024), (Date{1999, 8, 22}));
    EXPECT_EQ(civilDate(0, 2048), (Date{2019, 4, 7}));
}

TEST(TimeUtilitiesTest, WeekBeforeTheFirstIsOfTheYearBefore)
{
    EXPECT_EQ(civilDate(0, -1), (Date{1979, 12, 30}));
    EXPECT_EQ(civilDate(6, -1), (Date{1980, 1, 5}));
}

TEST(TimeUtilitiesTest, DatesFromMarch2100AreADayBehind)
{
    const auto sinceEpoch =
        static_cast<std::int32_t>((std::chrono::sys_days{std::chrono::year{2100} / 3 / 1} - kGpsEpoch).count());
    EXPECT_EQ(civilDate(sinceEpoch - 1, 0), (Date{2100, 2, 28}));
    EXPECT_EQ(civilDate(sinceEpoch, 0), (Date{2100, 2, 29}));
}

TEST(TimeUtilitiesTest, DateOfAnyWeekIsDefined)
{
    EXPECT_GT(civilDate(kGreatest, kGreatest).year, 40'000'000);
    EXPECT_LT(civilDate(kLowest, kLowest).year, -40'000'000);
}

TEST(TimeUtilitiesTest, MonthBelowOneHasNoDayOfTheYear)
{
    EXPECT_EQ(ToDayOfYear(2024, 0, 15), 0);
    EXPECT_EQ(ToDayOfYear(2024, -3, 15), 0);
    EXPECT_EQ(ToDayOfYear(2024, kLowest, 15), 0);
}

TEST(TimeUtilitiesTest, MonthAboveTwelveCountsFromTheEndOfTheYear)
{
    EXPECT_EQ(ToDayOfYear(2023, 13, 2), 367);
    EXPECT_EQ(ToDayOfYear(2024, 13, 2), 368);
    EXPECT_EQ(ToDayOfYear(2024, 14, 2), 368);
    EXPECT_EQ(ToDayOfYear(2024, kGreatest, 2), 368);
    EXPECT_EQ(ToDayOfYear(2024, 13, kGreatest), kGreatest);
}

TEST(TimeUtilitiesTest, LeapDayCountsOnlyForLaterMonths)
{
    EXPECT_EQ(ToDayOfYear(2024, 1, 31), 31);
    EXPECT_EQ(ToDayOfYear(2024, 2, 29), 60);
    EXPECT_EQ(ToDayOfYear(2024, 3, 1), 61);
    EXPECT_EQ(ToDayOfYear(1900, 3, 1), 60);
    EXPECT_EQ(ToDayOfYear(2000, 3, 1), 61);
}

TEST(TimeUtilitiesTest, DaysBelowThirtyTwoAreJanuary)
{
    EXPECT_EQ(monthDay(2023, 31), (Date{2023, 1, 31}));
    EXPECT_EQ(monthDay(2023, 0), (Date{2023, 1, 0}));
    EXPECT_EQ(monthDay(2023, -40), (Date{2023, 1, -40}));
    EXPECT_EQ(monthDay(2023, kLowest), (Date{2023, 1, kLowest}));
    EXPECT_EQ(monthDay(2023, 32), (Date{2023, 2, 1}));
}

TEST(TimeUtilitiesTest, DaysBeyondTheYearAreDecember)
{
    EXPECT_EQ(monthDay(2023, 365), (Date{2023, 12, 31}));
    EXPECT_EQ(monthDay(2023, 366), (Date{2023, 12, 32}));
    EXPECT_EQ(monthDay(2024, 366), (Date{2024, 12, 31}));
    EXPECT_EQ(monthDay(2024, 400), (Date{2024, 12, 65}));
    EXPECT_EQ(monthDay(2024, kGreatest), (Date{2024, 12, kGreatest - 335}));
}

TEST(TimeUtilitiesTest, UtcOnTheSameDayKeepsTheDay)
{
    EXPECT_EQ(resolved(3 * 86400.0 + 1018.0, 2300, 1000.0), (GpsDay{3, 2300}));
    EXPECT_EQ(resolved(0.0, 2300, 0.0), (GpsDay{0, 2300}));
}

TEST(TimeUtilitiesTest, UtcBehindMidnightIsOnTheDayBefore)
{
    EXPECT_EQ(resolved(3 * 86400.0 + 10.0, 2300, 86392.0), (GpsDay{2, 2300}));
    EXPECT_EQ(resolved(10.0, 2300, 86392.0), (GpsDay{6, 2299}));
    EXPECT_EQ(resolved(10.0, 0, 86392.0), (GpsDay{6, -1}));
}

TEST(TimeUtilitiesTest, UtcAheadOfMidnightIsOnTheNextDay)
{
    EXPECT_EQ(resolved(3 * 86400.0 + 86399.0, 2300, 1.0), (GpsDay{4, 2300}));
    EXPECT_EQ(resolved(6 * 86400.0 + 86399.0, 2300, 1.0), (GpsDay{0, 2301}));
    EXPECT_EQ(resolved(7 * 86400.0 + 86399.0, 2300, 1.0), (GpsDay{8, 2300}));
}

TEST(TimeUtilitiesTest, HalfADayApartKeepsTheDay)
{
    EXPECT_EQ(resolved(2 * 86400.0 + 43200.0, 5, 0.0), (GpsDay{2, 5}));
    EXPECT_EQ(resolved(2 * 86400.0 + 43200.5, 5, 0.0), (GpsDay{3, 5}));
    EXPECT_EQ(resolved(2 * 86400.0 + 1000.0, 5, 44200.0), (GpsDay{2, 5}));
    EXPECT_EQ(resolved(2 * 86400.0 + 1000.0, 5, 44200.5), (GpsDay{1, 5}));
}

TEST(TimeUtilitiesTest, WildTimesAreDefined)
{
    EXPECT_EQ(resolved(kNaN, 5, 0.0), (GpsDay{0, 5}));
    EXPECT_EQ(resolved(0.0, 5, kNaN), (GpsDay{0, 5}));
    EXPECT_EQ(resolved(1e300, 5, 0.0), (GpsDay{kGreatest, 5}));
    EXPECT_EQ(resolved(-1e300, 5, 0.0), (GpsDay{kLowest, 5}));
    EXPECT_EQ(resolved(10.0, kLowest, 86392.0), (GpsDay{6, kLowest}));
    EXPECT_EQ(resolved(6 * 86400.0 + 86399.0, kGreatest, 1.0), (GpsDay{0, kGreatest}));
}

TEST(TimeUtilitiesTest, FigureOfMeritByDecades)
{
    struct Row {
        double deviation;
        int within, beyond;
    };
    for (const Row& row : {Row{1e-9, 1, 2},
                           {1e-8, 2, 3},
                           {1e-7, 3, 4},
                           {1e-6, 4, 5},
                           {1e-5, 5, 6},
                           {1e-4, 6, 7},
                           {1e-3, 7, 8},
                           {1e-2, 8, 9}}) {
        EXPECT_EQ(TimeVar2Tfom(0.99 * row.deviation * row.deviation), row.within) << row.deviation;
        EXPECT_EQ(TimeVar2Tfom(1.01 * row.deviation * row.deviation), row.beyond) << row.deviation;
    }
    EXPECT_EQ(TimeVar2Tfom(1.1e-4), 9);
    EXPECT_EQ(TimeVar2Tfom(0.0), 1);
    EXPECT_EQ(TimeVar2Tfom(-5.0), 1);
}

TEST(TimeUtilitiesTest, FigureOfMeritLimitsToTheLastBit)
{
    constexpr double kLimits[] = {1e-18, 1e-8 * 1e-8, 1e-7 * 1e-7, 1e-12, 1e-5 * 1e-5, 1e-8, 1e-6, 1e-4};
    int figure = 1;
    for (const double limit : kLimits) {
        EXPECT_EQ(TimeVar2Tfom(limit), figure) << limit;
        ++figure;
        EXPECT_EQ(TimeVar2Tfom(std::nextafter(limit, 1.0)), figure) << limit;
    }
    EXPECT_EQ(TimeVar2Tfom(1e-16), 2);
    EXPECT_EQ(TimeVar2Tfom(1e-14), 4) << "above the product of 1e-7 and 1e-7";
    EXPECT_EQ(TimeVar2Tfom(1e-10), 5);
}

TEST(TimeUtilitiesTest, FigureOfMeritOfNoNumberIsTheWorst)
{
    EXPECT_EQ(TimeVar2Tfom(kNaN), 9);
    EXPECT_EQ(TimeVar2Tfom(kInfinity), 9);
    EXPECT_EQ(TimeVar2Tfom(-kInfinity), 9);
}

TEST(TimeUtilitiesTest, NormalizedDayIsClosedAtTheTop)
{
    EXPECT_EQ(normalize_to_one_day(86400.0), 86400.0);
    EXPECT_EQ(normalize_to_one_day(86400.5), 0.5);
    EXPECT_EQ(normalize_to_one_day(172800.0), 86400.0);
    EXPECT_EQ(normalize_to_one_day(-1.0), 86399.0);
    EXPECT_EQ(normalize_to_one_day(0.0), 0.0);
}

TEST(TimeUtilitiesTest, NormalizedWeekIsClosedAtTheTop)
{
    EXPECT_EQ(normalize_to_one_week(604800.0), 604800.0);
    EXPECT_EQ(normalize_to_one_week(604800.5), 0.5);
    EXPECT_EQ(normalize_to_one_week(1814400.0), 604800.0);
    EXPECT_EQ(normalize_to_one_week(-1e-20), 604800.0);
    EXPECT_EQ(normalize_to_one_week(-604800.0), 0.0);
    EXPECT_FALSE(std::signbit(normalize_to_one_week(-604800.0)));
    EXPECT_TRUE(std::signbit(normalize_to_one_week(-0.0)));
}

TEST(TimeUtilitiesTest, NormalizingWildTimesEnds)
{
    EXPECT_EQ(normalize_to_one_day(86400.0 * 1e9 + 5.0), 5.0);
    EXPECT_EQ(normalize_to_one_week(-604800.0 * 1e9 - 5.0), 604795.0);
    EXPECT_LE(normalize_to_one_week(9.7e39), 604800.0);
    EXPECT_TRUE(std::isnan(normalize_to_one_day(kInfinity)));
    EXPECT_TRUE(std::isnan(normalize_to_one_week(kNaN)));
}

TEST(TimeUtilitiesTest, DaysOfNegativeSecondsAreTruncated)
{
    EXPECT_EQ(resolved(-1.0, 5, 86399.0), (GpsDay{6, 4}));
}
