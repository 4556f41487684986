#ifndef RELIABILITY_DAY_GROWTH_H
#define RELIABILITY_DAY_GROWTH_H

#include "reliability/day/Holdings.h"

#include <cstddef>
#include <iterator>
#include <optional>
#include <vector>

/// Of a life.
enum class Quarter { Second = 1, Third };

/// By how much a process holds more in the last quarter of its life than in an earlier one. What warms up for long has
/// grown since the second one, and much less since the third.
/// @return nothing if there are too few samples to tell
inline std::optional<Holdings> growthOf(const std::vector<Holdings>& samples, Quarter since)
{
    constexpr std::size_t kFewest = 8;
    if (samples.size() < kFewest) return std::nullopt;
    const auto quarter = std::ssize(samples) / 4;
    const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(since) * quarter;
    const Holdings early = leastOf(begin, begin + quarter);
    const Holdings late = leastOf(samples.end() - quarter, samples.end());
    return Holdings{late.residentKb - early.residentKb, late.threads - early.threads,
                    late.descriptors - early.descriptors};
}

/// The least resident memory of each eighth of a life; of eight samples and more.
inline std::vector<double> eighthsOf(const std::vector<Holdings>& samples)
{
    std::vector<double> least;
    const auto eighth = std::ssize(samples) / 8;
    for (std::ptrdiff_t i = 0; eighth > 0 && i < 8; ++i)
        least.push_back(leastOf(samples.begin() + i * eighth, samples.begin() + (i + 1) * eighth).residentKb);
    return least;
}

#endif
