#include "utilities/GpsDateTime.h"

#include "utilities/Saturate.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

constexpr std::uint32_t kNanosecondsPerMillisecond = 1'000'000'000;  // the field's own scale
constexpr std::uint32_t kMillisecondsPerWeek = 604'800'000;
constexpr std::uint32_t kWeeksPerRollover = 1024;

// Three hours between Moscow and UTC, less the 16 leap seconds between UTC and GPS.
constexpr std::uint32_t kGlonassAheadOfGps = 10'784'000;  // ms

/// One unit of the next field for a negative `value`, which then holds that unit more. The fields of two normalised
/// times never differ by more.
std::int64_t borrow(std::int64_t& value, std::uint32_t unit)
{
    if (value >= 0) return 0;
    value += unit;
    return 1;
}

/// Weeks, milliseconds and nanoseconds between two times, each with what the smaller ones borrow. The week may be
/// negative.
struct Difference {
    Difference(const GpsDateTime& a, const GpsDateTime& b)
    {
        nanoseconds = std::int64_t{a.Nanoseconds()} - b.Nanoseconds();
        milliseconds = std::int64_t{a.MillisecondsOfWeek()} - b.MillisecondsOfWeek();
        milliseconds -= borrow(nanoseconds, kNanosecondsPerMillisecond);
        week = std::int64_t{a.Week()} - b.Week();
        week -= borrow(milliseconds, kMillisecondsPerWeek);
    }

    std::int64_t week, milliseconds, nanoseconds;
};

/// A date as days since the GPS epoch, in the parts that a time is made of.
struct GpsDay {
    explicit GpsDay(const GpsDateTime::CivilTimeStruct& civil)
    {
        const std::int64_t years = std::int64_t{civil.year} - 1980;
        // Counts the leap day of `civil.year` itself, as the day of the year does: a day too many in every leap year
        // after 1980. Deliberate; GLONASS times depend on it.
        const std::int64_t leapYears = years / 4 + (years != 0 ? 1 : 0);
        const std::int64_t days =
            std::int64_t{GpsDateTime::DayOfYearFromCivilTime(civil)} - 6 + 366 * leapYears + 365 * (years - leapYears);
        week = static_cast<std::uint32_t>(days / 7 % kWeeksPerRollover);
        rollovers = static_cast<std::uint32_t>(days / 7 / kWeeksPerRollover);
        secondsOfWeek = 86400 * (days % 7);
    }

    std::uint32_t week, rollovers;
    std::int64_t secondsOfWeek;  // at its start
};

}  // namespace

GpsDateTime::GpsDateTime(std::uint32_t week, std::uint32_t milliseconds) : m_week(week), m_milliseconds(milliseconds)
{
    Normalize();
}

GpsDateTime::GpsDateTime(std::uint32_t week, std::int32_t gpsSecondsOfWeek, std::int32_t utcSecondOfDay,
                         double nanoseconds)
    : GpsDateTime(week, static_cast<double>(gpsSecondsOfWeek), utcSecondOfDay + nanoseconds / 1e9)
{}

GpsDateTime::GpsDateTime(std::uint32_t week, double gpsSecondsOfWeek, double utcSecondOfDay) : m_rollovers(0)
{
    SetUtcTime(week, gpsSecondsOfWeek, utcSecondOfDay);
}

void GpsDateTime::SetTime(std::uint32_t week, double seconds)
{
    const double milliseconds = std::abs(seconds) * 1000.0;
    m_week = week;
    m_milliseconds = saturate<std::uint32_t>(milliseconds);
    const double part = milliseconds - m_milliseconds;
    // A part of one or more is what the whole milliseconds couldn't hold.
    m_nanoseconds = part < 1.0 ? saturate<std::uint32_t>(part * 1e9) : 0;
    Normalize();
}

void GpsDateTime::SetUtcTime(std::uint32_t week, double gpsSecondsOfWeek, double utcSecondOfDay)
{
    const double secondOfDay = std::fmod(gpsSecondsOfWeek, TimeUtilities::SECONDS_PER_DAY);
    double dayStart = gpsSecondsOfWeek - secondOfDay;
    if (secondOfDay < utcSecondOfDay) {
        dayStart -= TimeUtilities::SECONDS_PER_DAY;
        if (dayStart < 0.0) {
            dayStart += TimeUtilities::SECONDS_PER_WEEK;
            if (week > 0) {
                --week;
            } else {
                week = kWeeksPerRollover - 1;
                if (m_rollovers > 0) --m_rollovers;
            }
        }
    }
    SetTime(week, dayStart + utcSecondOfDay);
}

void GpsDateTime::Normalize()
{
    m_milliseconds += m_nanoseconds / kNanosecondsPerMillisecond;
    m_nanoseconds %= kNanosecondsPerMillisecond;
    m_week += m_milliseconds / kMillisecondsPerWeek;
    m_milliseconds %= kMillisecondsPerWeek;
    m_rollovers += m_week / kWeeksPerRollover;
    m_week %= kWeeksPerRollover;
}

std::strong_ordering operator<=>(const GpsDateTime& a, const GpsDateTime& b)
{
    return std::tie(a.m_rollovers, a.m_week, a.m_milliseconds, a.m_nanoseconds) <=>
           std::tie(b.m_rollovers, b.m_week, b.m_milliseconds, b.m_nanoseconds);
}

GpsDateTime& GpsDateTime::operator+=(const GpsDateTime& other)
{
    m_week += other.m_week;
    m_milliseconds += other.m_milliseconds;
    m_nanoseconds += other.m_nanoseconds;
    m_rollovers = std::max(m_rollovers, other.m_rollovers);
    Normalize();
    return *this;
}

GpsDateTime GpsDateTime::TimeDifference(const GpsDateTime& a, const GpsDateTime& b)
{
    const auto& [x, y] = a >= b ? std::tie(a, b) : std::tie(b, a);
    const Difference difference(x, y);
    const std::int64_t rollovers = std::int64_t{x.m_rollovers} - y.m_rollovers;
    GpsDateTime result;
    result.m_week = static_cast<std::uint32_t>(difference.week + rollovers * kWeeksPerRollover);
    result.m_milliseconds = static_cast<std::uint32_t>(difference.milliseconds);
    result.m_nanoseconds = static_cast<std::uint32_t>(difference.nanoseconds);
    result.Normalize();
    return result;
}

GpsDateTime GpsDateTime::GoBackInTime(const GpsDateTime& a, const GpsDateTime& b)
{
    Difference difference(a, b);
    const std::int64_t rollovers = a.m_rollovers - borrow(difference.week, kWeeksPerRollover);
    GpsDateTime result;
    result.m_week = static_cast<std::uint32_t>(difference.week);
    result.m_milliseconds = static_cast<std::uint32_t>(difference.milliseconds);
    result.m_nanoseconds = static_cast<std::uint32_t>(difference.nanoseconds);
    result.m_rollovers = static_cast<std::uint32_t>(std::max<std::int64_t>(rollovers, 0));
    result.Normalize();
    return result;
}

bool GpsDateTime::IsLeapYear(std::uint32_t year)
{
    return TimeUtilities::IsLeapYear(year);
}

void GpsDateTime::ToCivilDate(std::uint32_t& year, std::uint32_t& month, std::uint32_t& day) const
{
    const TimeUtilities::CivilDate date = TimeUtilities::CivilDateFromJulianDay(
        TimeUtilities::GPS_EPOCH_MJD + (m_week + m_rollovers * 1024.0) * 7.0 +
        (m_milliseconds / 1000.0) / TimeUtilities::SECONDS_PER_DAY + 2400000.5 + 0.5);
    year = saturate<std::uint32_t>(date.year);
    month = saturate<std::uint32_t>(date.month);
    day = saturate<std::uint32_t>(date.day);
}

void GpsDateTime::ToCivilTime(CivilTimeStruct& civil, std::uint32_t leapSeconds)
{
    *this = GoBackInTime(*this, GpsDateTime(0, leapSeconds * 1000));
    ToCivilDate(civil.year, civil.month, civil.day);
    const double secondsOfWeek = (m_nanoseconds / 1e9 + m_milliseconds) / 1000.0;
    const double secondOfDay = std::fmod(secondsOfWeek, TimeUtilities::SECONDS_PER_DAY);
    civil.hour = static_cast<std::int32_t>(secondOfDay / 3600.0);
    const double secondOfHour = secondOfDay - 3600.0 * civil.hour;
    civil.minute = static_cast<std::int32_t>(secondOfHour / 60.0);
    civil.seconds = secondOfHour - 60.0 * civil.minute;
}

std::uint32_t GpsDateTime::DayOfYearFromCivilTime(const CivilTimeStruct& civil)
{
    if (civil.month == 0) return 0;
    return static_cast<std::uint32_t>(TimeUtilities::DaysBeforeMonth(IsLeapYear(civil.year), civil.month)) + civil.day;
}

void GpsDateTime::DayOfYearToCivilTime(std::uint32_t dayOfYear, std::uint32_t year, CivilTimeStruct& civil)
{
    civil.year = year;
    const bool leapYear = IsLeapYear(year);
    for (std::uint32_t month = 1; month <= 12; ++month) {
        const auto before = static_cast<std::uint32_t>(TimeUtilities::DaysBeforeMonth(leapYear, month));
        const auto through = static_cast<std::uint32_t>(TimeUtilities::DaysBeforeMonth(leapYear, month + 1));
        if (dayOfYear > before && dayOfYear <= through) {
            civil.month = month;
            civil.day = dayOfYear - before;
        }
    }
}

GpsDateTime GpsDateTime::CivilTimeToGpsDateTime(const CivilTimeStruct& civil, std::uint32_t secondOfDay,
                                                std::uint32_t leapSeconds)
{
    const GpsDay day(civil);
    const std::int64_t seconds = std::int64_t{secondOfDay} + leapSeconds + day.secondsOfWeek;
    GpsDateTime result(day.week, static_cast<std::uint32_t>(1000 * seconds));
    result.m_rollovers = day.rollovers;
    return result;
}

GpsDateTime GpsDateTime::CivilTimeToGpsDateTime(const CivilTimeStruct& civil, double secondOfDay,
                                                std::uint32_t leapSeconds)
{
    const GpsDay day(civil);
    GpsDateTime result;
    result.SetTime(day.week, static_cast<double>(leapSeconds + day.secondsOfWeek) + secondOfDay);
    result.m_rollovers = day.rollovers;
    return result;
}

std::uint32_t GpsDateTime::DayOfYear() const
{
    GpsDateTime copy = *this;
    CivilTimeStruct civil;
    copy.ToCivilTime(civil, 0);
    return DayOfYearFromCivilTime(civil);
}

GpsDateTime GpsDateTime::ConvertGlonassTimeParamsToGps(std::uint32_t secondOfDay, std::uint32_t dayNumber,
                                                       std::uint32_t fourYearNumber)
{
    struct Year {
        std::uint32_t offset, firstDay, lastDay;
    };
    constexpr Year kYears[] = {{0, 1, 366}, {1, 367, 731}, {2, 732, 1096}, {3, 1097, 1461}};

    std::uint32_t year = 1992 + 4 * fourYearNumber;
    std::uint32_t dayOfYear = dayNumber;
    for (const Year& row : kYears)
        if (dayNumber >= row.firstDay && dayNumber <= row.lastDay) {
            year += row.offset;
            dayOfYear -= row.firstDay - 1;
        }
    CivilTimeStruct civil;
    DayOfYearToCivilTime(dayOfYear, year, civil);
    return GoBackInTime(CivilTimeToGpsDateTime(civil, secondOfDay, 0), GpsDateTime(0, kGlonassAheadOfGps));
}
