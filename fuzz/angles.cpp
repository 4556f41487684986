// Angles and normalisers: every call ends, in its closed range, and as the loop that it stands for.
// Input: a value, the ends of a range, then more of both.

#include "fuzz/Fuzz.h"
#include "utilities/AngleUtility.h"
#include "utilities/NormalizeRange.h"
#include "utilities/TimeUtilities.h"

#include <cmath>
#include <optional>
#include <stdexcept>

namespace {

/// Step by step; none if that takes too many, or moves nothing.
std::optional<double> byLoop(double value, double minimum, double maximum, double width)
{
    for (int turns = 0; turns < 4000; ++turns) {
        if (!(value < minimum)) {
            for (; turns < 4000; ++turns) {
                if (!(value > maximum)) return value;
                if (value - width == value) return std::nullopt;
                value -= width;
            }
            return std::nullopt;
        }
        if (value + width == value) return std::nullopt;
        value += width;
    }
    return std::nullopt;
}

/// The defect: above a range of negative values the lower end is given.
double ours(double value, double minimum, double maximum, double width)
{
    const double result = normalizeRange(value, minimum, maximum, width);
    return fuzz::kPlanted && maximum < 0.0 && value > maximum ? minimum : result;
}

void lookAt(double value, double minimum, double maximum)
{
    const double width = maximum - minimum;
    const double result = ours(value, minimum, maximum, width);
    if (!std::isfinite(width) || !(width > 0.0) || std::isnan(value)) {
        FUZZ_EXPECT(std::isnan(value) ? std::isnan(result) : result == value);
        return;
    }
    if (std::isinf(value)) {
        FUZZ_EXPECT(std::isnan(result));
        return;
    }
    if (const auto expected = byLoop(value, minimum, maximum, width)) {
        FUZZ_EXPECT(result == *expected && std::signbit(result) == std::signbit(*expected));
        return;
    }
    FUZZ_EXPECT(result >= minimum && result <= maximum);
    FUZZ_EXPECT(AngleUtility::NormalizeValue(value, minimum, maximum) ==
                normalizeRange(value, minimum, maximum, width));
}

void lookAtConstrained(double value, double minimum, double maximum)
{
    try {
        const double result = AngleUtility::ConstrainRange(value, minimum, maximum);
        FUZZ_EXPECT(maximum > minimum);
        FUZZ_EXPECT(std::isnan(value) ? std::isnan(result) : result >= minimum && result <= maximum);
    } catch (const std::invalid_argument&) {
        FUZZ_EXPECT(!(maximum > minimum));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    while (!input.isEmpty()) {
        const auto value = input.number<double>();
        const auto minimum = input.number<double>();
        const auto maximum = input.number<double>();
        lookAt(value, minimum, maximum);
        lookAt(value, 0.0, 360.0);
        lookAt(value, -180.0, 180.0);
        lookAt(value, -90.0, 90.0);
        lookAtConstrained(value, minimum, maximum);
        if (std::isfinite(value)) {
            FUZZ_EXPECT(TimeUtilities::normalize_to_one_week(value) >= 0.0);
            FUZZ_EXPECT(TimeUtilities::normalize_to_one_week(value) <= 604800.0);
            FUZZ_EXPECT(TimeUtilities::normalize_to_one_day(value) >= 0.0);
            FUZZ_EXPECT(TimeUtilities::normalize_to_one_day(value) <= 86400.0);
        }
        FUZZ_EXPECT(TimeUtilities::TimeVar2Tfom(value) >= 1 && TimeUtilities::TimeVar2Tfom(value) <= 9);
    }
    return 0;
}
