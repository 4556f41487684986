// GPS times from arbitrary fields: every operation ends, leaves its fields in range, and goes back to what it came from.
// Input: the fields of two times and of a date.

#include "utilities/GpsDateTime.h"
#include "fuzz/Fuzz.h"

#include <cmath>

namespace {

constexpr std::uint32_t kMillisecondsPerWeek = 604'800'000;

/// The defect: the last week of an era does not carry.
std::uint32_t weekOf(const GpsDateTime& time)
{
    return fuzz::kPlanted && time.Week() == 1023 && time.Rollovers() == 2 ? 1024 : time.Week();
}

const GpsDateTime& checked(const GpsDateTime& time)
{
    FUZZ_EXPECT(weekOf(time) < 1024);
    FUZZ_EXPECT(time.MillisecondsOfWeek() < kMillisecondsPerWeek);
    FUZZ_EXPECT(time.Nanoseconds() < 1'000'000'000);
    GpsDateTime again = time;
    again.Normalize();
    FUZZ_EXPECT(again == time);
    return time;
}

GpsDateTime timeOf(fuzz::Input& input)
{
    const auto week = input.number<std::uint32_t>();
    switch (input.below(4)) {
    case 0:
        return GpsDateTime(week, input.number<std::uint32_t>());
    case 1: {
        const auto gps = input.number<std::int32_t>();
        const auto utc = input.number<std::int32_t>();
        return GpsDateTime(week, gps, utc, input.number<double>());
    }
    case 2: {
        const auto gps = input.number<double>();
        return GpsDateTime(week, gps, input.number<double>());
    }
    default: {
        GpsDateTime time;
        time.SetTime(week, input.number<double>());
        return time;
    }
    }
}

void lookAtPair(const GpsDateTime& a, const GpsDateTime& b)
{
    const GpsDateTime difference = checked(GpsDateTime::TimeDifference(a, b));
    FUZZ_EXPECT(difference == GpsDateTime::TimeDifference(b, a));
    FUZZ_EXPECT((a < b) + (a == b) + (a > b) == 1);
    if (a == b) FUZZ_EXPECT(difference == GpsDateTime());
    const GpsDateTime sum = checked(a + b);
    FUZZ_EXPECT(sum == b + a);
    const GpsDateTime back = checked(GpsDateTime::GoBackInTime(sum, b));
    if (a.Rollovers() >= b.Rollovers()) FUZZ_EXPECT(back == a);
}

/// The date is one of the calendar and, within the days that are promised, goes back to its time.
void lookAtDate(GpsDateTime time, std::uint32_t leapSeconds)
{
    const std::uint32_t weeks = time.Week() + 1024 * std::min(time.Rollovers(), std::uint32_t{1000});
    GpsDateTime::CivilTimeStruct civil;
    time.ToCivilTime(civil, leapSeconds);
    checked(time);
    FUZZ_EXPECT(civil.hour >= 0 && civil.hour < 24 && civil.minute >= 0 && civil.minute < 60);
    FUZZ_EXPECT(civil.seconds >= 0.0 && civil.seconds < 60.0);
    if (weeks < 2 || weeks > 6200) return;  // 1980 to 2098
    FUZZ_EXPECT(civil.month >= 1 && civil.month <= 12 && civil.day >= 1);
    const bool isLeapDay = civil.month == 2 && civil.day == 29 && civil.year % 4 == 0;
    FUZZ_EXPECT(isLeapDay || static_cast<int>(civil.day) <= GpsDateTime::s_NumDaysInMonth[civil.month]);
    const std::uint32_t dayOfYear = GpsDateTime::DayOfYearFromCivilTime(civil);
    FUZZ_EXPECT(dayOfYear >= 1 && dayOfYear <= (civil.year % 4 == 0 ? 366u : 365u));
    GpsDateTime::CivilTimeStruct same;
    GpsDateTime::DayOfYearToCivilTime(dayOfYear, civil.year, same);
    FUZZ_EXPECT(same.year == civil.year && same.month == civil.month && same.day == civil.day);
    if (civil.year % 4 == 0 && civil.year != 1980) return;  // one day late, on purpose
    const std::uint32_t secondOfDay = time.MillisecondsOfWeek() / 1000 % 86400;
    const GpsDateTime back = checked(GpsDateTime::CivilTimeToGpsDateTime(civil, secondOfDay, 0));
    FUZZ_EXPECT(back.Week() == time.Week() && back.Rollovers() == time.Rollovers());
    FUZZ_EXPECT(back.MillisecondsOfWeek() == time.MillisecondsOfWeek() / 1000 * 1000);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const GpsDateTime a = checked(timeOf(input));
    const GpsDateTime b = checked(timeOf(input));
    lookAtPair(a, b);
    lookAtDate(a, input.number<std::uint32_t>());
    lookAtDate(b, 0);

    GpsDateTime::CivilTimeStruct civil;
    civil.year = input.number<std::uint32_t>();
    civil.month = input.number<std::uint32_t>();
    civil.day = input.number<std::uint32_t>();
    checked(GpsDateTime::CivilTimeToGpsDateTime(civil, input.number<std::uint32_t>(), input.number<std::uint32_t>()));
    checked(GpsDateTime::CivilTimeToGpsDateTime(civil, input.number<double>(), input.number<std::uint32_t>()));
    checked(GpsDateTime::ConvertGlonassTimeParamsToGps(civil.day, civil.month, civil.year));
    return 0;
}
