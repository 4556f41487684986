#ifndef RELIABILITY_LOAD_NUMBERED_H
#define RELIABILITY_LOAD_NUMBERED_H

#include "reliability/load/Joins.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Warnings or threats that one tell of the bus had, by their numbers, in its order.
struct NumberedTell {
    double at;  // ms, wall clock
    std::vector<std::int32_t> numbers;
};

/// How the numbered warnings or threats of the receiver that were told agree with those that were sent: the newest fifty,
/// none left out. Pure functions.
namespace Numbered {

inline constexpr std::size_t kMostInTell = 50;

/// Whether a tell may have what the one before had.
enum class Comes { Again, Once };

struct Findings {
    std::size_t all = 0;           ///< told, each as often as it was
    std::size_t leftOut = 0;       ///< times that one which was sent is missing between two of one tell
    std::size_t repeated = 0;      ///< times that one came again, in one tell or, if told once, in a later one
    std::size_t neverSent = 0;     ///< told without having been sent, or before it
    std::size_t tooLong = 0;       ///< tells with more than fifty
    std::vector<double> outdated;  ///< ms for which a newer one had been sent already, of each tell since the first
};

Findings judge(std::span<const NumberedTell> tells, const SentTimes& sent, Comes comes);

}  // namespace Numbered

#endif
