#ifndef RELIABILITY_DAY_PACE_H
#define RELIABILITY_DAY_PACE_H

#include <cstdint>
#include <initializer_list>
#include <optional>

/// The first of some paces at which all is well; nothing if it is at none of them.
template <class IsWell>
std::optional<std::int64_t> firstPace(std::initializer_list<std::int64_t> paces, IsWell isWell)
{
    for (const std::int64_t pace : paces)
        if (isWell(pace)) return pace;
    return std::nullopt;
}

#endif
