#ifndef RELIABILITY_DAY_GROWTH_H
#define RELIABILITY_DAY_GROWTH_H

#include "reliability/day/Holdings.h"

#include <cstddef>
#include <iterator>
#include <optional>
#include <vector>

/// By how much a process holds more in the last quarter of its life than in the second one.
/// @return nothing if there are too few samples to tell
inline std::optional<Holdings> growthOf(const std::vector<Holdings>& samples)
{
    constexpr std::size_t kFewest = 8;
    if (samples.size() < kFewest) return std::nullopt;
    const auto quarter = std::ssize(samples) / 4;
    const Holdings early = leastOf(samples.begin() + quarter, samples.begin() + 2 * quarter);
    const Holdings late = leastOf(samples.end() - quarter, samples.end());
    return Holdings{late.residentKb - early.residentKb, late.threads - early.threads,
                    late.descriptors - early.descriptors};
}

#endif
