#ifndef UTILITIES_TIMEUTILITIES_H
#define UTILITIES_TIMEUTILITIES_H

#include <array>
#include <cstdint>

/// Dates of the GPS calendar and the figure of merit of a time. Pure functions, any thread.
///
/// A GPS day is a week counted from 6 January 1980 without rollovers, and a day in it from 0, Sunday.
namespace TimeUtilities {

/// Days of the months of a common year, from index 1.
inline constexpr std::array<int, 13> DAYS_PER_MONTH = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

inline constexpr double SECONDS_PER_DAY = 86400.0;
inline constexpr double SECONDS_PER_WEEK = 604800.0;

/// Modified Julian Date of 6 January 1980.
inline constexpr double GPS_EPOCH_MJD = 44244.0;

/// The Gregorian rule, for years before the common era too.
constexpr bool IsLeapYear(std::int64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

/// Days of the year before a month: 0 for January and what is below, the whole year for 13 and what is above.
int DaysBeforeMonth(bool leapYear, std::int64_t month);

/// Year, month and day as the conversion makes them, whole numbers.
struct CivilDate {
    double year, month, day;
};

/// The date of a Julian day (Hofmann-Wellenhof et al., GPS Theory and Practice, time systems): right from 1 March 1900
/// to 28 February 2100. It takes every fourth year for a leap year, so that the day after reads 29 February 2100, and
/// all later dates are behind.
/// @param julianDay  counted from midnight: half a day above the astronomical count
CivilDate CivilDateFromJulianDay(double julianDay);

/// The UTC date of a moment that is given on the GPS scale: the leap seconds or a correction of the clock may have put
/// the two on different sides of midnight.
/// @param gpsSecondsOfWeek  seconds; a day beyond the week counts on, 7 and above
/// @param week              GPS week
/// @param utcSecondOfDay    seconds; beyond half a day from the GPS second of day, the UTC day is another
/// @param day               the GPS day of the week of the UTC date
/// @param weekOut           its GPS week; -1 is the week before the first
void ResolveUtcDate(double gpsSecondsOfWeek, std::int32_t week, double utcSecondOfDay, std::int32_t& day,
                    std::int32_t& weekOut);

/// The date of a GPS day (see `CivilDateFromJulianDay`).
void ToCivilDate(std::int32_t dayOfWeek, std::int32_t week, std::int32_t& year, std::int32_t& month, std::int32_t& day);

/// Day of the year from 1; 0 for a month below 1. A month above 12 counts from the end of the year.
std::int32_t ToDayOfYear(std::int32_t year, std::int32_t month, std::int32_t day);

/// Month and day of a day of the year. Below 1 it is a day of January, beyond the year one of December.
/// @return the month
std::int32_t ToMonthDay(std::int32_t year, std::int32_t dayOfYear, std::int32_t& month, std::int32_t& day);

/// Figure of merit of a time, 1 (up to 1 ns) to 9 (above 10 ms, also for a variance that is not finite).
/// @param variance  s^2; a negative one counts as best
int TimeVar2Tfom(double variance);

/// `seconds` in 0 to 86400, both included, by whole days (see `normalizeRange`).
double normalize_to_one_day(double seconds);

/// `seconds` in 0 to 604800, both included, by whole weeks (see `normalizeRange`).
double normalize_to_one_week(double seconds);

}  // namespace TimeUtilities

#endif
