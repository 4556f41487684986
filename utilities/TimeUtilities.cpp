#include "utilities/TimeUtilities.h"

#include "utilities/NormalizeRange.h"
#include "utilities/Saturate.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TimeUtilities {

namespace {

constexpr double kHalfDay = 43200.0;

// s^2. Each is written as its product or as its value so that the last bit is as expected: (1e-7) * (1e-7) lies below
// the double nearest to 1e-14.
constexpr double kTfomLimits[] = {1e-18, 1e-8 * 1e-8, 1e-7 * 1e-7, 1e-12, 1e-5 * 1e-5, 1e-8, 1e-6, 1e-4};

std::int32_t limited(std::int64_t value)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

}  // namespace

int DaysBeforeMonth(bool leapYear, std::int64_t month)
{
    int days = leapYear && month > 2 ? 1 : 0;
    for (std::size_t earlier = 1; earlier < DAYS_PER_MONTH.size() && static_cast<std::int64_t>(earlier) < month;
         ++earlier)
        days += DAYS_PER_MONTH[earlier];
    return days;
}

CivilDate CivilDateFromJulianDay(double julianDay)
{
    const double a = std::floor(julianDay);
    const double b = std::floor((a + 1537.0 - 122.1) / 365.25);
    const double c = a + 1537.0 - std::floor(b * 365.25);
    const double d = std::floor(c / 30.6001);
    const double month = d - 1.0 - std::floor(d / 14.0) * 12.0;
    return {.year = b - 4715.0 - std::floor((month + 7.0) / 10.0),
            .month = month,
            .day = std::floor(julianDay - a + c - std::floor(d * 30.6001))};
}

void ResolveUtcDate(double gpsSecondsOfWeek, std::int32_t week, double utcSecondOfDay, std::int32_t& day,
                    std::int32_t& weekOut)
{
    std::int64_t utcDay = saturate<std::int32_t>(gpsSecondsOfWeek / SECONDS_PER_DAY);
    std::int64_t utcWeek = week;
    const double difference = gpsSecondsOfWeek - SECONDS_PER_DAY * static_cast<double>(utcDay) - utcSecondOfDay;
    if (difference < -kHalfDay) {
        if (utcDay == 0) {
            utcDay = 6;
            --utcWeek;
        } else {
            --utcDay;
        }
    } else if (difference > kHalfDay) {
        if (utcDay == 6) {
            utcDay = 0;
            ++utcWeek;
        } else {
            ++utcDay;
        }
    }
    day = limited(utcDay);
    weekOut = limited(utcWeek);
}

void ToCivilDate(std::int32_t dayOfWeek, std::int32_t week, std::int32_t& year, std::int32_t& month, std::int32_t& day)
{
    const CivilDate date = CivilDateFromJulianDay(GPS_EPOCH_MJD + week * 7.0 + dayOfWeek + 2400000.5 + 0.5);
    year = saturate<std::int32_t>(date.year);
    month = saturate<std::int32_t>(date.month);
    day = saturate<std::int32_t>(date.day);
}

std::int32_t ToDayOfYear(std::int32_t year, std::int32_t month, std::int32_t day)
{
    if (month < 1) return 0;
    return limited(std::int64_t{DaysBeforeMonth(IsLeapYear(year), month)} + day);
}

std::int32_t ToMonthDay(std::int32_t year, std::int32_t dayOfYear, std::int32_t& month, std::int32_t& day)
{
    const bool leapYear = IsLeapYear(year);
    month = 1;
    while (month < 12 && dayOfYear > DaysBeforeMonth(leapYear, month + 1)) ++month;
    day = dayOfYear - DaysBeforeMonth(leapYear, month);
    return month;
}

int TimeVar2Tfom(double variance)
{
    if (!std::isfinite(variance)) return 9;
    return 1 + static_cast<int>(std::ranges::count_if(kTfomLimits, [=](double limit) { return variance > limit; }));
}

double normalize_to_one_day(double seconds)
{
    return normalizeRange(seconds, 0.0, SECONDS_PER_DAY, SECONDS_PER_DAY);
}

double normalize_to_one_week(double seconds)
{
    return normalizeRange(seconds, 0.0, SECONDS_PER_WEEK, SECONDS_PER_WEEK);
}

}  // namespace TimeUtilities
