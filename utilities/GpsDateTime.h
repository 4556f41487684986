#ifndef UTILITIES_GPSDATETIME_H
#define UTILITIES_GPSDATETIME_H

#include "utilities/TimeUtilities.h"

#include <array>
#include <compare>
#include <cstdint>

/// A GPS time in whole numbers: a ten-bit week as the signal sends it, the milliseconds of the week, a part of a
/// millisecond, and how often the week has rolled over since 6 January 1980.
///
/// Always normalised: week below 1024, milliseconds below 604,800,000, nanoseconds below 1,000,000,000. A plain value;
/// different objects may be used by different threads.
class GpsDateTime {
public:
    /// A date and a time of day.
    struct CivilTimeStruct {
        std::uint32_t year = 0;
        std::uint32_t month = 0;  ///< from 1
        std::uint32_t day = 0;    ///< from 1
        double seconds = 0.0;     ///< of the minute, with fraction
        std::int32_t hour = 0;
        std::int32_t minute = 0;
    };

    /// Days of the months of a common year, from index 1.
    static constexpr const std::array<int, 13>& s_NumDaysInMonth = TimeUtilities::DAYS_PER_MONTH;

    /// The start of the era of the present week numbers: week 0, time 0, rollovers 1.
    GpsDateTime() = default;

    /// A time of the week in the era of `GpsDateTime()`. What exceeds a week or the ten bits of `week` carries.
    GpsDateTime(std::uint32_t week, std::uint32_t milliseconds);

    /// The UTC moment of a receiver's time record (see `SetUtcTime`).
    /// @param week              full GPS week; ten bits alone give a date in 1980 to 1999
    /// @param gpsSecondsOfWeek  whole seconds
    /// @param utcSecondOfDay    whole seconds
    /// @param nanoseconds       of the UTC second
    GpsDateTime(std::uint32_t week, std::int32_t gpsSecondsOfWeek, std::int32_t utcSecondOfDay, double nanoseconds);

    /// The same from seconds with fractions.
    GpsDateTime(std::uint32_t week, double gpsSecondsOfWeek, double utcSecondOfDay);

    /// Sets week and time of week; full weeks are added to the rollovers, which otherwise stay.
    /// @param seconds  its absolute value counts. Milliseconds beyond 32 bits stop at 4294967295, NaN is 0.
    void SetTime(std::uint32_t week, double seconds);

    /// Sets the UTC moment on the GPS scale of weeks. GPS time is ahead of UTC by the leap seconds, so that it may be
    /// in the next day already: a UTC second of day above the GPS one belongs to the day before.
    /// @param week              GPS week of `gpsSecondsOfWeek`; the week before 0 is 1023 of one rollover less, if any
    /// @param gpsSecondsOfWeek  seconds
    /// @param utcSecondOfDay    seconds
    void SetUtcTime(std::uint32_t week, double gpsSecondsOfWeek, double utcSecondOfDay);

    /// Carries nanoseconds, milliseconds and week over into what is next. Every operation ends with it.
    void Normalize();

    std::uint32_t Week() const { return m_week; }
    std::uint32_t MillisecondsOfWeek() const { return m_milliseconds; }

    /// Part of a millisecond. 1,000,000,000 of them are one millisecond, in spite of the name.
    std::uint32_t Nanoseconds() const { return m_nanoseconds; }

    std::uint32_t Rollovers() const { return m_rollovers; }

    /// By rollovers, week, milliseconds, nanoseconds.
    friend bool operator==(const GpsDateTime& a, const GpsDateTime& b) = default;
    friend std::strong_ordering operator<=>(const GpsDateTime& a, const GpsDateTime& b);

    /// Weeks and times added; of the rollovers the greater, and what the weeks carry.
    GpsDateTime& operator+=(const GpsDateTime& other);
    friend GpsDateTime operator+(GpsDateTime a, const GpsDateTime& b) { return a += b; }

    /// How far the two are apart, whichever is first. A duration: its rollovers count from 1, as those of a value made
    /// of week and milliseconds.
    static GpsDateTime TimeDifference(const GpsDateTime& a, const GpsDateTime& b);

    /// `a` less the week and time of `b`, whose rollovers don't count. The rollovers end at 0: before the first week of
    /// all comes week 1023 of the same era.
    static GpsDateTime GoBackInTime(const GpsDateTime& a, const GpsDateTime& b);

    /// The Gregorian rule.
    static bool IsLeapYear(std::uint32_t year);

    /// The date, right to 28 February 2100 (see `TimeUtilities::CivilDateFromJulianDay`).
    void ToCivilDate(std::uint32_t& year, std::uint32_t& month, std::uint32_t& day) const;

    /// Date and time of day of this value less `leapSeconds`. The value itself loses them: a second call takes them off
    /// again.
    ///
    /// The date is that of the whole milliseconds, the time of day that of the double nearest to the whole value. So in
    /// the last picoseconds of a day the time may be 00:00:00 already while the date isn't; no value from `SetTime` is
    /// that close.
    void ToCivilTime(CivilTimeStruct& civil, std::uint32_t leapSeconds);

    /// Day of the year from 1; 0 for month 0. A month above 12 counts from the end of the year.
    static std::uint32_t DayOfYearFromCivilTime(const CivilTimeStruct& civil);

    /// Sets the year, and month and day if `dayOfYear` is within that year.
    static void DayOfYearToCivilTime(std::uint32_t dayOfYear, std::uint32_t year, CivilTimeStruct& civil);

    /// The GPS time of a date and UTC second of day, from 6 January 1980 to 2099; hour, minute and seconds of `civil`
    /// don't count.
    ///
    /// In every leap year but 1980 the result is one day late, on purpose: the year's own leap day counts twice. Only
    /// `ConvertGlonassTimeParamsToGps` uses this.
    static GpsDateTime CivilTimeToGpsDateTime(const CivilTimeStruct& civil, std::uint32_t secondOfDay,
                                              std::uint32_t leapSeconds);
    static GpsDateTime CivilTimeToGpsDateTime(const CivilTimeStruct& civil, double secondOfDay,
                                              std::uint32_t leapSeconds);

    /// Day of the year from 1.
    std::uint32_t DayOfYear() const;

    /// The GPS time of a GLONASS date (see `CivilTimeToGpsDateTime` for its leap years).
    /// @param secondOfDay     Moscow time
    /// @param dayNumber       day in the four-year span, from 1
    /// @param fourYearNumber  number of the span, 1 for the one that starts in 1996
    static GpsDateTime ConvertGlonassTimeParamsToGps(std::uint32_t secondOfDay, std::uint32_t dayNumber,
                                                     std::uint32_t fourYearNumber);

private:
    std::uint32_t m_week = 0;
    std::uint32_t m_milliseconds = 0;
    std::uint32_t m_nanoseconds = 0;
    std::uint32_t m_rollovers = 1;
};

#endif
