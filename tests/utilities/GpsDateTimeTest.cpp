#include "utilities/GpsDateTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <ostream>
#include <random>

using CivilTime = GpsDateTime::CivilTimeStruct;

void PrintTo(const GpsDateTime& time, std::ostream* stream)
{
    *stream << "week " << time.Week() << " ms " << time.MillisecondsOfWeek() << " ns " << time.Nanoseconds()
            << " rollovers " << time.Rollovers();
}

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
constexpr std::chrono::sys_days kGpsEpoch = std::chrono::year{1980} / 1 / 6;

struct Fields {
    std::uint32_t week, milliseconds, nanoseconds, rollovers;
    bool operator==(const Fields&) const = default;
    friend void PrintTo(const Fields& fields, std::ostream* stream)
    {
        *stream << "week " << fields.week << " ms " << fields.milliseconds << " ns " << fields.nanoseconds
                << " rollovers " << fields.rollovers;
    }
};

Fields fieldsOf(const GpsDateTime& time)
{
    return {time.Week(), time.MillisecondsOfWeek(), time.Nanoseconds(), time.Rollovers()};
}

struct Date {
    std::uint32_t year = 0, month = 0, day = 0;
    bool operator==(const Date&) const = default;
    friend void PrintTo(const Date& date, std::ostream* stream)
    {
        *stream << date.year << '-' << date.month << '-' << date.day;
    }
};

Date dateOf(const GpsDateTime& time)
{
    Date date;
    time.ToCivilDate(date.year, date.month, date.day);
    return date;
}

Date dateOf(std::chrono::sys_days day)
{
    const std::chrono::year_month_day date = day;
    return {static_cast<std::uint32_t>(static_cast<int>(date.year())), static_cast<unsigned>(date.month()),
            static_cast<unsigned>(date.day())};
}

Date dateOf(const CivilTime& civil)
{
    return {civil.year, civil.month, civil.day};
}

CivilTime civilTime(GpsDateTime time, std::uint32_t leapSeconds)
{
    CivilTime civil;
    time.ToCivilTime(civil, leapSeconds);
    return civil;
}

CivilTime civilDay(std::uint32_t year, std::uint32_t month, std::uint32_t day)
{
    return {.year = year, .month = month, .day = day};
}

/// A time of a week that counts on over the rollovers, exactly.
GpsDateTime ofFullWeek(std::uint32_t week, std::uint32_t milliseconds)
{
    GpsDateTime nextWeek(0, 0.0, 0.0);
    nextWeek.SetTime(week + 1, 0.0);
    return GpsDateTime::GoBackInTime(nextWeek, GpsDateTime(0, 604800000 - milliseconds));
}

/// A time of the second era with part of a millisecond, exactly.
GpsDateTime withNanoseconds(std::uint32_t week, std::uint32_t milliseconds, std::uint32_t nanoseconds)
{
    GpsDateTime part;
    for (double seconds = nanoseconds / 1e12; part.Nanoseconds() < nanoseconds; seconds = std::nextafter(seconds, 1.0))
        part.SetTime(0, seconds);
    return GpsDateTime(week, milliseconds) + part;
}

const GpsDateTime kFirstMoment(0, 0.0, 0.0);  // rollovers 0

}  // namespace

TEST(GpsDateTimeTest, DefaultIsTheStartOfTheSecondEra)
{
    EXPECT_EQ(fieldsOf(GpsDateTime()), (Fields{0, 0, 0, 1}));
    EXPECT_EQ(dateOf(GpsDateTime()), (Date{1999, 8, 22}));
}

TEST(GpsDateTimeTest, WeekAndMillisecondsAreOfTheSecondEra)
{
    EXPECT_EQ(fieldsOf(GpsDateTime(300, 5000)), (Fields{300, 5000, 0, 1}));
    EXPECT_EQ(fieldsOf(GpsDateTime(1023, 604799999)), (Fields{1023, 604799999, 0, 1}));
}

TEST(GpsDateTimeTest, EndOfTheLastWeekCarriesIntoTheRollovers)
{
    EXPECT_EQ(fieldsOf(GpsDateTime(1023, 604800000)), (Fields{0, 0, 0, 2}));
    EXPECT_EQ(fieldsOf(GpsDateTime(3 * 1024 + 5, 7)), (Fields{5, 7, 0, 4}));
    EXPECT_EQ(fieldsOf(GpsDateTime(0, kMost)), (Fields{7, 61367295, 0, 1}));
}

TEST(GpsDateTimeTest, SetTimeKeepsTheFractionOfAMillisecondByBillionths)
{
    GpsDateTime time;
    time.SetTime(12, 0.0015);
    EXPECT_EQ(fieldsOf(time), (Fields{12, 1, 500000000, 1}));
    time.SetTime(12, 604800.00025);
    EXPECT_EQ(time.Week(), 13u);
    EXPECT_EQ(time.MillisecondsOfWeek(), 0u);
    EXPECT_NEAR(time.Nanoseconds(), 250000000.0, 100.0);
}

TEST(GpsDateTimeTest, SetTimeTruncates)
{
    GpsDateTime time;
    time.SetTime(0, 1.9999);
    EXPECT_EQ(time.MillisecondsOfWeek(), 1999u);
    EXPECT_NEAR(time.Nanoseconds(), 900000000.0, 1.0);
    time.SetTime(0, 2e-3 / 3.0);
    EXPECT_EQ(fieldsOf(time), (Fields{0, 0, 666666666, 1}));
}

TEST(GpsDateTimeTest, SetTimeTakesTheAbsoluteValue)
{
    GpsDateTime time;
    time.SetTime(12, -2.5);
    EXPECT_EQ(fieldsOf(time), (Fields{12, 2500, 0, 1}));
}

TEST(GpsDateTimeTest, SetTimeAddsToTheRollovers)
{
    GpsDateTime time;
    time.SetTime(2 * 1024 + 1, 0.0);
    EXPECT_EQ(fieldsOf(time), (Fields{1, 0, 0, 3}));
    time.SetTime(4, 1.0);
    EXPECT_EQ(fieldsOf(time), (Fields{4, 1000, 0, 3}));
}

TEST(GpsDateTimeTest, SetTimeStopsAtThirtyTwoBits)
{
    // 4294967295 ms are 7 weeks and 61367295 ms.
    for (const double seconds : {4294967.2965, 4294967.296, 4294968.5, 1e30, -1e300, kInfinity, -kInfinity}) {
        GpsDateTime time;
        time.SetTime(0, seconds);
        EXPECT_EQ(fieldsOf(time), (Fields{7, 61367295, 0, 1})) << seconds;
    }
    GpsDateTime time;
    time.SetTime(0, 4294967.2955);
    EXPECT_EQ(time.MillisecondsOfWeek(), 61367295u);
    EXPECT_NEAR(time.Nanoseconds(), 500000000.0, 1000.0);
}

TEST(GpsDateTimeTest, SetTimeOfNaNIsTheStartOfTheWeek)
{
    GpsDateTime time;
    time.SetTime(9, kNaN);
    EXPECT_EQ(fieldsOf(time), (Fields{9, 0, 0, 1}));
}

TEST(GpsDateTimeTest, UtcOfTheSameDayIsOnThatDay)
{
    EXPECT_EQ(fieldsOf(GpsDateTime(2300, 3 * 86400.0 + 1018.0, 1000.0)), (Fields{252, 260200000, 0, 2}));
    EXPECT_EQ(fieldsOf(GpsDateTime(5, 86400.0, 0.0)), (Fields{5, 86400000, 0, 0}));
}

TEST(GpsDateTimeTest, UtcBehindMidnightIsOnTheDayBefore)
{
    GpsDateTime time(100, 0);
    time.SetUtcTime(100, 86400.0 + 10.0, 86390.0);
    EXPECT_EQ(fieldsOf(time), (Fields{100, 86390000, 0, 1}));
}

TEST(GpsDateTimeTest, EqualSecondsOfDayAreTheSameDay)
{
    GpsDateTime time(100, 0);
    time.SetUtcTime(100, 86400.0 + 10.0, 10.0);
    EXPECT_EQ(fieldsOf(time), (Fields{100, 86410000, 0, 1}));
    time.SetUtcTime(100, 86400.0 + 10.0, 10.5);
    EXPECT_EQ(fieldsOf(time), (Fields{100, 10500, 0, 1}));
}

TEST(GpsDateTimeTest, UtcBehindTheStartOfTheWeekIsInTheWeekBefore)
{
    GpsDateTime time(100, 0);
    time.SetUtcTime(100, 10.0, 86392.0);
    EXPECT_EQ(fieldsOf(time), (Fields{99, 604792000, 0, 1}));
    time.SetUtcTime(1, 10.0, 86392.0);
    EXPECT_EQ(fieldsOf(time), (Fields{0, 604792000, 0, 1}));
}

TEST(GpsDateTimeTest, WeekBeforeWeekZeroIsOfTheEraBefore)
{
    GpsDateTime time(0, 0);
    time.SetUtcTime(0, 10.0, 86392.0);
    EXPECT_EQ(fieldsOf(time), (Fields{1023, 604792000, 0, 0}));
}

TEST(GpsDateTimeTest, WeekBeforeTheFirstDoesNotWrapTheRollovers)
{
    const GpsDateTime time(0u, 10, 86392, 0.0);
    EXPECT_EQ(fieldsOf(time), (Fields{1023, 604792000, 0, 0}));
    EXPECT_EQ(dateOf(time), (Date{1999, 8, 21}));
}

TEST(GpsDateTimeTest, FullWeekBeforeARolloverStaysInItsEra)
{
    EXPECT_EQ(fieldsOf(GpsDateTime(2048u, 10, 86392, 0.0)), (Fields{1023, 604792000, 0, 1}));
    EXPECT_EQ(fieldsOf(GpsDateTime(2048u, 20, 2, 0.0)), (Fields{0, 2000, 0, 2}));
}

TEST(GpsDateTimeTest, NanosecondsOfUtcAreAFractionOfItsSecond)
{
    EXPECT_EQ(fieldsOf(GpsDateTime(2048u, 1018, 1000, 250000000.0)), (Fields{0, 1000250, 0, 2}));
    const GpsDateTime time(2048u, 1018, 1000, 250000500.0);
    EXPECT_EQ(time.MillisecondsOfWeek(), 1000250u);
    EXPECT_NEAR(time.Nanoseconds(), 500000.0, 200.0);
}

// IERS Bulletin C 52: GPS was 17 s ahead of UTC until the leap second at the end of 2016, then 18 s. The first day of
// 2017 was the first of GPS week 1930.
TEST(GpsDateTimeTest, LeapSecondOf2016)
{
    const CivilTime before = civilTime(GpsDateTime(1930u, 16, 86399, 0.0), 0);
    EXPECT_EQ(dateOf(before), (Date{2016, 12, 31}));
    EXPECT_EQ(before.hour, 23);
    EXPECT_EQ(before.minute, 59);
    EXPECT_EQ(before.seconds, 59.0);
    const CivilTime after = civilTime(GpsDateTime(1930u, 18, 0, 0.0), 0);
    EXPECT_EQ(dateOf(after), (Date{2017, 1, 1}));
    EXPECT_EQ(after.hour, 0);
    EXPECT_EQ(after.minute, 0);
    EXPECT_EQ(after.seconds, 0.0);
}

TEST(GpsDateTimeTest, UtcMomentsAreThoseOfTheCalendar)
{
    std::mt19937 random(19800106);
    std::uniform_int_distribution<std::int32_t> weeks(1, 6259), seconds(0, 604799), leaps(1, 30), millis(0, 999);
    for (int i = 0; i < 20000; ++i) {
        const std::int32_t week = weeks(random), gps = seconds(random), millisecond = millis(random);
        const std::chrono::sys_time<std::chrono::milliseconds> utc = kGpsEpoch + std::chrono::weeks{week} +
                                                                     std::chrono::seconds{gps - leaps(random)} +
                                                                     std::chrono::milliseconds{millisecond};
        const auto day = std::chrono::floor<std::chrono::days>(utc);
        const std::chrono::hh_mm_ss time(utc - day);
        const auto secondOfDay = static_cast<std::int32_t>(std::chrono::floor<std::chrono::seconds>(utc - day).count());

        const CivilTime civil =
            civilTime(GpsDateTime(static_cast<std::uint32_t>(week), gps, secondOfDay, millisecond * 1e6), 0);
        ASSERT_EQ(dateOf(civil), dateOf(day)) << week << ' ' << gps;
        ASSERT_EQ(civil.hour, time.hours().count()) << week << ' ' << gps;
        ASSERT_EQ(civil.minute, time.minutes().count()) << week << ' ' << gps;
        // As the fraction of a second of the week, of which a double holds ten places.
        ASSERT_NEAR(civil.seconds, static_cast<double>(time.seconds().count()) + millisecond / 1000.0, 1e-9);
    }
}

TEST(GpsDateTimeTest, WildUtcIsDefined)
{
    constexpr std::int32_t kSecondsMost = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kSecondsLeast = std::numeric_limits<std::int32_t>::min();
    for (const std::uint32_t week : {0u, 1u, 1024u, kMost})
        for (const std::int32_t gps : {kSecondsLeast, -1, 0, 604800, kSecondsMost})
            for (const std::int32_t utc : {kSecondsLeast, -1, 0, 86400, kSecondsMost})
                for (const double nanoseconds : {0.0, -1e300, 1e300, kInfinity, kNaN}) {
                    GpsDateTime time(week, gps, utc, nanoseconds);
                    EXPECT_LT(time.Week(), 1024u);
                    EXPECT_LT(time.MillisecondsOfWeek(), 604800000u);
                    EXPECT_LT(time.Nanoseconds(), 1000000000u);
                    EXPECT_LE(time.Rollovers(), kMost / 1024);
                    const CivilTime civil = civilTime(time, 0);
                    EXPECT_GE(civil.year, 1980u);
                    EXPECT_LT(civil.hour, 24);
                }
}

TEST(GpsDateTimeTest, NegativeWeekIsAFarOne)
{
    const GpsDateTime time(static_cast<std::uint32_t>(-1), 1018, 1000, 0.0);
    EXPECT_EQ(fieldsOf(time), (Fields{1023, 1000000, 0, 4194303}));
    EXPECT_EQ(dateOf(time).year, 82314837u);  // 1980 and 4294967295 weeks of 7 / 365.25 years
}

TEST(GpsDateTimeTest, YearBeyondThirtyTwoBitsStopsThere)
{
    GpsDateTime time;
    for (int i = 0; i < 1023; ++i) time.SetTime(kMost, 0.0);
    ASSERT_EQ(time.Rollovers(), 1u + 1023u * 4194303u);
    EXPECT_EQ(dateOf(time).year, kMost);
}

TEST(GpsDateTimeTest, FirstDifferenceDecidesFromRolloversDown)
{
    const GpsDateTime ordered[] = {ofFullWeek(1023, 604799999), withNanoseconds(0, 0, 0),    withNanoseconds(0, 0, 5),
                                   withNanoseconds(0, 1, 0),    withNanoseconds(0, 2, 4000), withNanoseconds(1, 0, 0),
                                   withNanoseconds(2, 0, 0),    withNanoseconds(1024, 0, 0)};
    for (std::size_t i = 0; i < std::size(ordered); ++i)
        for (std::size_t j = 0; j < std::size(ordered); ++j) {
            EXPECT_EQ(ordered[i] == ordered[j], i == j) << i << ' ' << j;
            EXPECT_EQ(ordered[i] != ordered[j], i != j) << i << ' ' << j;
            EXPECT_EQ(ordered[i] < ordered[j], i < j) << i << ' ' << j;
            EXPECT_EQ(ordered[i] <= ordered[j], i <= j) << i << ' ' << j;
            EXPECT_EQ(ordered[i] > ordered[j], i > j) << i << ' ' << j;
            EXPECT_EQ(ordered[i] >= ordered[j], i >= j) << i << ' ' << j;
        }
}

TEST(GpsDateTimeTest, SumCarriesThroughAllFields)
{
    GpsDateTime a;
    a.SetTime(1000, 604799.9995);
    GpsDateTime b;
    b.SetTime(23, 0.0005);
    const GpsDateTime sum = a + b;
    EXPECT_EQ(sum.Week(), 0u);
    EXPECT_EQ(sum.Rollovers(), 2u);
    EXPECT_EQ(sum.MillisecondsOfWeek(), 0u);
    EXPECT_LT(sum.Nanoseconds(), 100u);
    a += b;
    EXPECT_EQ(a, sum);
}

TEST(GpsDateTimeTest, SumTakesTheGreaterRollovers)
{
    EXPECT_EQ(fieldsOf(ofFullWeek(3 * 1024, 5) + GpsDateTime(1, 6)), (Fields{1, 11, 0, 3}));
    EXPECT_EQ(fieldsOf(GpsDateTime(1, 6) + ofFullWeek(3 * 1024, 5)), (Fields{1, 11, 0, 3}));
    EXPECT_EQ(fieldsOf(kFirstMoment + GpsDateTime(1, 6)), (Fields{1, 6, 0, 1}));
}

TEST(GpsDateTimeTest, GoingBackOverARolloverTakesOne)
{
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(GpsDateTime(0, 0), GpsDateTime(0, 1))),
              (Fields{1023, 604799999, 0, 0}));
}

TEST(GpsDateTimeTest, GoingBackBeforeTheFirstWeekKeepsRolloverZero)
{
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(kFirstMoment, GpsDateTime(0, 1))), (Fields{1023, 604799999, 0, 0}));
}

TEST(GpsDateTimeTest, GoingBackBorrowsThroughAllFields)
{
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(GpsDateTime(10, 5000), withNanoseconds(0, 0, 1))),
              (Fields{10, 4999, 999999999, 1}));
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(GpsDateTime(10, 0), withNanoseconds(0, 0, 1))),
              (Fields{9, 604799999, 999999999, 1}));
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(GpsDateTime(), withNanoseconds(1023, 604799999, 0))),
              (Fields{0, 1, 0, 0}));
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(GpsDateTime(10, 0), withNanoseconds(10, 0, 1))),
              (Fields{1023, 604799999, 999999999, 0}));
}

TEST(GpsDateTimeTest, GoingBackIgnoresTheOtherRollovers)
{
    EXPECT_EQ(fieldsOf(GpsDateTime::GoBackInTime(GpsDateTime(10, 5), ofFullWeek(5 * 1024 + 3, 1))),
              (Fields{7, 4, 0, 1}));
}

TEST(GpsDateTimeTest, DifferenceIsTheSameBothWays)
{
    const GpsDateTime early = withNanoseconds(1020, 604000000, 7000);
    const GpsDateTime late = ofFullWeek(2 * 1024 + 3, 1000);
    // Seven weeks less 604000 s, plus 1 s, less the 7000.
    const Fields expected = {6, 800999, 999993000, 1};
    EXPECT_EQ(fieldsOf(GpsDateTime::TimeDifference(late, early)), expected);
    EXPECT_EQ(fieldsOf(GpsDateTime::TimeDifference(early, late)), expected);
}

TEST(GpsDateTimeTest, DifferenceHasTheDefaultRollovers)
{
    EXPECT_EQ(fieldsOf(GpsDateTime::TimeDifference(GpsDateTime(9, 8), GpsDateTime(9, 8))), (Fields{0, 0, 0, 1}));
    EXPECT_EQ(fieldsOf(GpsDateTime::TimeDifference(kFirstMoment, ofFullWeek(2 * 1024 + 9, 4))), (Fields{9, 4, 0, 3}));
    EXPECT_EQ(fieldsOf(GpsDateTime::TimeDifference(ofFullWeek(1023, 604799999), ofFullWeek(1024, 0))),
              (Fields{0, 1, 0, 1}));
}

TEST(GpsDateTimeTest, DifferencesEqualThoseOfTheWholeCount)
{
    std::mt19937_64 random(1024);
    std::uniform_int_distribution<std::uint32_t> weeks(0, 7167), milliseconds(0, 604799999);
    for (int i = 0; i < 5000; ++i) {
        const std::uint32_t weekA = weeks(random), weekB = weeks(random);
        const std::uint32_t millisA = milliseconds(random), millisB = milliseconds(random);
        const std::int64_t apart = std::abs((std::int64_t{weekA} - weekB) * 604800000 + millisA - millisB);
        const GpsDateTime difference =
            GpsDateTime::TimeDifference(ofFullWeek(weekA, millisA), ofFullWeek(weekB, millisB));
        const Fields fields = fieldsOf(difference);
        ASSERT_EQ((std::int64_t{fields.rollovers - 1} * 1024 + fields.week) * 604800000 + fields.milliseconds, apart);
        ASSERT_EQ(fields.nanoseconds, 0u);
    }
}

TEST(GpsDateTimeTest, LeapYearsAreGregorian)
{
    EXPECT_TRUE(GpsDateTime::IsLeapYear(2000));
    EXPECT_TRUE(GpsDateTime::IsLeapYear(2024));
    EXPECT_FALSE(GpsDateTime::IsLeapYear(1900));
    EXPECT_FALSE(GpsDateTime::IsLeapYear(2023));
    for (std::uint32_t year = 1980; year <= 2400; ++year)
        EXPECT_EQ(GpsDateTime::IsLeapYear(year), std::chrono::year{static_cast<int>(year)}.is_leap()) << year;
}

TEST(GpsDateTimeTest, EveryDayTo2099IsThatOfTheCalendarToItsLastMillisecond)
{
    const auto end = (std::chrono::sys_days{std::chrono::year{2100} / 1 / 1} - kGpsEpoch).count();
    for (std::uint32_t day = 0; day < static_cast<std::uint32_t>(end); ++day) {
        const Date expected = dateOf(kGpsEpoch + std::chrono::days{day});
        const std::uint32_t midnight = day % 7 * 86400000;
        for (const std::uint32_t millisecond : {0u, 1u, 43200000u, 86399999u})
            ASSERT_EQ(dateOf(ofFullWeek(day / 7, midnight + millisecond)), expected) << day << ' ' << millisecond;
    }
}

TEST(GpsDateTimeTest, DatesFromMarch2100AreADayBehind)
{
    // 28 February 2100 is day 43883 after the epoch.
    EXPECT_EQ(dateOf(ofFullWeek(6269, 0)), (Date{2100, 2, 28}));
    EXPECT_EQ(dateOf(ofFullWeek(6269, 86400000)), (Date{2100, 2, 29}));
}

TEST(GpsDateTimeTest, CivilTimeIsThatOfTheCalendar)
{
    std::mt19937 random(2048);
    std::uniform_int_distribution<std::uint32_t> weeks(0, 6259), milliseconds(0, 604799999), leaps(0, 18);
    for (int i = 0; i < 20000; ++i) {
        const std::uint32_t week = weeks(random), millisecond = milliseconds(random), leap = leaps(random);
        if (week == 0 && millisecond < leap * 1000) continue;
        const std::chrono::sys_time<std::chrono::milliseconds> utc =
            kGpsEpoch + std::chrono::weeks{week} + std::chrono::milliseconds{millisecond} - std::chrono::seconds{leap};
        const auto day = std::chrono::floor<std::chrono::days>(utc);
        const std::chrono::hh_mm_ss time(utc - day);
        const CivilTime civil = civilTime(ofFullWeek(week, millisecond), leap);
        ASSERT_EQ(dateOf(civil), dateOf(day)) << week << ' ' << millisecond;
        ASSERT_EQ(civil.hour, time.hours().count()) << week << ' ' << millisecond;
        ASSERT_EQ(civil.minute, time.minutes().count()) << week << ' ' << millisecond;
        ASSERT_NEAR(civil.seconds,
                    static_cast<double>(time.seconds().count()) +
                        static_cast<double>(time.subseconds().count()) / 1000.0,
                    1e-9);
    }
}

TEST(GpsDateTimeTest, CivilTimeTakesTheLeapSecondsOffTheValueEachTime)
{
    GpsDateTime time(10, 100000);
    CivilTime civil;
    time.ToCivilTime(civil, 18);
    EXPECT_EQ(civil.seconds, 22.0);
    EXPECT_EQ(fieldsOf(time), (Fields{10, 82000, 0, 1}));
    time.ToCivilTime(civil, 18);
    EXPECT_EQ(civil.seconds, 4.0);
    EXPECT_EQ(fieldsOf(time), (Fields{10, 64000, 0, 1}));
}

TEST(GpsDateTimeTest, CivilTimeKeepsTheFraction)
{
    const CivilTime civil = civilTime(withNanoseconds(10, 3723004, 500000000), 0);
    EXPECT_EQ(civil.hour, 1);
    EXPECT_EQ(civil.minute, 2);
    EXPECT_NEAR(civil.seconds, 3.0045, 1e-12);
}

TEST(GpsDateTimeTest, LastPicosecondOfADayIsMidnightOfTheOldDate)
{
    const CivilTime civil = civilTime(withNanoseconds(0, 86399999, 999999999), 0);
    EXPECT_EQ(dateOf(civil), (Date{1999, 8, 22}));
    EXPECT_EQ(civil.hour, 0);
    EXPECT_EQ(civil.minute, 0);
    EXPECT_EQ(civil.seconds, 0.0);
}

// Meeus, Astronomical Algorithms, 2nd edition, examples 7.f and 7.g; the other days are those of the calendar.
TEST(GpsDateTimeTest, DayOfYearFromCivilDates)
{
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(1978, 11, 14)), 318u);
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(1988, 4, 22)), 113u);
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(2024, 2, 29)), 60u);
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(2024, 12, 31)), 366u);
}

TEST(GpsDateTimeTest, DayOfYearOfMonthsThatAreNone)
{
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(2024, 0, 15)), 0u);
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(2024, 13, 2)), 368u);
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(2023, 14, 2)), 367u);
    EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(civilDay(2023, kMost, 2)), 367u);
}

TEST(GpsDateTimeTest, DayOfYearOfATimeLeavesItAlone)
{
    const GpsDateTime time(2, 86400000);  // 6 September 1999
    EXPECT_EQ(time.DayOfYear(), 249u);
    EXPECT_EQ(fieldsOf(time), (Fields{2, 86400000, 0, 1}));
}

TEST(GpsDateTimeTest, DaysOfTheYearAreThoseOfTheCalendar)
{
    for (std::uint32_t year = 1980; year < 2100; ++year) {
        const std::chrono::sys_days newYear = std::chrono::year{static_cast<int>(year)} / 1 / 1;
        const std::uint32_t days = std::chrono::year{static_cast<int>(year)}.is_leap() ? 366 : 365;
        for (std::uint32_t dayOfYear = 1; dayOfYear <= days; ++dayOfYear) {
            CivilTime civil;
            GpsDateTime::DayOfYearToCivilTime(dayOfYear, year, civil);
            ASSERT_EQ(dateOf(civil), dateOf(newYear + std::chrono::days{dayOfYear - 1})) << year << ' ' << dayOfYear;
            ASSERT_EQ(GpsDateTime::DayOfYearFromCivilTime(civil), dayOfYear);
        }
    }
}

TEST(GpsDateTimeTest, DayOutsideTheYearSetsTheYearAlone)
{
    for (const std::uint32_t dayOfYear : {0u, 366u, kMost}) {
        CivilTime civil = civilDay(1999, 7, 8);
        GpsDateTime::DayOfYearToCivilTime(dayOfYear, 2023, civil);
        EXPECT_EQ(dateOf(civil), (Date{2023, 7, 8})) << dayOfYear;
    }
    CivilTime civil = civilDay(1999, 7, 8);
    GpsDateTime::DayOfYearToCivilTime(366, 2024, civil);
    EXPECT_EQ(dateOf(civil), (Date{2024, 12, 31}));
}

TEST(GpsDateTimeTest, CivilDatesOfCommonYearsAndOf1980AreThoseOfTheCalendar)
{
    using std::chrono::days;
    for (std::chrono::sys_days day = kGpsEpoch; day < std::chrono::year{2100} / 1 / 1; day += days{1}) {
        const Date date = dateOf(day);
        if (date.year != 1980 && std::chrono::year{static_cast<int>(date.year)}.is_leap()) continue;
        const auto sinceEpoch = static_cast<std::uint32_t>((day - kGpsEpoch).count());
        const CivilTime civil = civilDay(date.year, date.month, date.day);
        const Fields expected = {sinceEpoch / 7 % 1024, sinceEpoch % 7 * 86400000 + 3618000, 0, sinceEpoch / 7168};
        ASSERT_EQ(fieldsOf(GpsDateTime::CivilTimeToGpsDateTime(civil, 3600u, 18)), expected) << sinceEpoch;
        ASSERT_EQ(fieldsOf(GpsDateTime::CivilTimeToGpsDateTime(civil, 3600.0, 18)), expected) << sinceEpoch;
    }
}

TEST(GpsDateTimeTest, CivilDatesOfLeapYearsAreADayLate)
{
    // 29 February 2024 is day 16125 after the epoch, 1 January 1984 day 1456.
    EXPECT_EQ(fieldsOf(GpsDateTime::CivilTimeToGpsDateTime(civilDay(2024, 2, 29), 0u, 0)),
              (Fields{2303 % 1024, 16126 % 7 * 86400000, 0, 2}));
    EXPECT_EQ(fieldsOf(GpsDateTime::CivilTimeToGpsDateTime(civilDay(1984, 1, 1), 0.0, 0)),
              (Fields{208, 86400000, 0, 0}));
}

TEST(GpsDateTimeTest, CivilTimeKeepsAFractionOfItsSecond)
{
    const GpsDateTime time = GpsDateTime::CivilTimeToGpsDateTime(civilDay(2023, 1, 1), 0.0015, 0);
    EXPECT_EQ(time.MillisecondsOfWeek(), 1u);
    EXPECT_EQ(time.Nanoseconds(), 500000000u);
}

TEST(GpsDateTimeTest, LeapSecondsAcrossARolloverDoNotCount)
{
    const Fields expected = {0, 17000, 0, 1};
    EXPECT_EQ(fieldsOf(GpsDateTime::CivilTimeToGpsDateTime(civilDay(2019, 4, 6), 86399u, 18)), expected);
    EXPECT_EQ(fieldsOf(GpsDateTime::CivilTimeToGpsDateTime(civilDay(2019, 4, 6), 86399.0, 18)), expected);
}

TEST(GpsDateTimeTest, WildCivilTimesAreDefined)
{
    for (const std::uint32_t year : {0u, 1979u, 1980u, 2100u, kMost})
        for (const std::uint32_t month : {0u, 1u, kMost})
            for (const std::uint32_t day : {0u, 1u, kMost})
                for (const std::uint32_t second : {0u, kMost}) {
                    const CivilTime civil = civilDay(year, month, day);
                    const double real = second == 0 ? -kInfinity : 1e300;
                    EXPECT_LT(GpsDateTime::CivilTimeToGpsDateTime(civil, second, kMost).Week(), 1024u);
                    EXPECT_LT(GpsDateTime::CivilTimeToGpsDateTime(civil, real, kMost).Week(), 1024u);
                }
}

// GLONASS interface control document, general description of the CDMA system, appendix on conversions: the Julian date
// of the current day is 1461 (N4 - 1) + NT + 2450082.5, in Moscow time, which is three hours ahead of UTC.
TEST(GpsDateTimeTest, GlonassDaysOfCommonYearsAreThoseOfTheirJulianDate)
{
    for (std::uint32_t fourYears = 1; fourYears <= 26; ++fourYears)
        for (std::uint32_t day = 367; day <= 1461; ++day) {
            const std::uint32_t modifiedJulian = 1461 * (fourYears - 1) + day + 50082;
            const std::uint64_t milliseconds = (modifiedJulian - 44244) * 86400000ull + 12345000 - 10784000;
            const auto week = static_cast<std::uint32_t>(milliseconds / 604800000);
            const Fields expected = {week % 1024, static_cast<std::uint32_t>(milliseconds % 604800000), 0, week / 1024};
            ASSERT_EQ(fieldsOf(GpsDateTime::ConvertGlonassTimeParamsToGps(12345, day, fourYears)), expected)
                << fourYears << ' ' << day;
        }
}

TEST(GpsDateTimeTest, GlonassDaysOfTheLeapYearAreADayLate)
{
    // The first and the last day of 2024, a day on: days 16067 and 16432 after the epoch.
    EXPECT_EQ(fieldsOf(GpsDateTime::ConvertGlonassTimeParamsToGps(10784, 1, 8)),
              (Fields{2295 - 2048, 172800000, 0, 2}));
    EXPECT_EQ(fieldsOf(GpsDateTime::ConvertGlonassTimeParamsToGps(10784, 366, 8)),
              (Fields{2347 - 2048, 259200000, 0, 2}));
}

TEST(GpsDateTimeTest, GlonassMoscowMidnightIsTheEveningBefore)
{
    const CivilTime civil = civilTime(GpsDateTime::ConvertGlonassTimeParamsToGps(0, 367, 8), 16);
    EXPECT_EQ(dateOf(civil), (Date{2024, 12, 31}));
    EXPECT_EQ(civil.hour, 21);
    EXPECT_EQ(civil.minute, 0);
    EXPECT_EQ(civil.seconds, 0.0);
}

TEST(GpsDateTimeTest, GlonassDayOutsideTheSpanIsMonthZeroOfItsFirstYear)
{
    // 44 years, of which 12 count as leap years, less the six days to the epoch.
    const Fields expected = {16066 / 7 % 1024, 16066 % 7 * 86400000, 0, 2};
    for (const std::uint32_t day : {0u, 1462u, kMost})
        EXPECT_EQ(fieldsOf(GpsDateTime::ConvertGlonassTimeParamsToGps(10784, day, 8)), expected) << day;
}

TEST(GpsDateTimeTest, DaysOfTheMonthsAreThoseOfACommonYear)
{
    for (unsigned month = 1; month <= 12; ++month) {
        const auto last = std::chrono::year{2023} / std::chrono::month{month} / std::chrono::last;
        EXPECT_EQ(static_cast<unsigned>(GpsDateTime::s_NumDaysInMonth.at(month)), static_cast<unsigned>(last.day()));
    }
}

TEST(GpsDateTimeTest, DayStartOfZeroInWeekZeroStays)
{
    EXPECT_EQ(fieldsOf(GpsDateTime(0u, 86410, 86390, 0.0)), (Fields{0, 86390000, 0, 0}));
}
