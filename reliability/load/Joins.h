#ifndef RELIABILITY_LOAD_JOINS_H
#define RELIABILITY_LOAD_JOINS_H

#include "reliability/load/Epochs.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// When each epoch of one input was sent, by the wall clock. One thread at a time.
class SentTimes {
public:
    SentTimes() : m_times(Epochs::kMost + 1, 0.0) {}

    /// To be called in rising order.
    void note(std::int32_t epoch, double ms) { m_times.at(static_cast<std::size_t>(epoch)) = ms; }

    /// 0 if it was never sent.
    double of(std::int32_t epoch) const;

    /// The next one after it that was sent; 0 if none was.
    std::int32_t next(std::int32_t epoch) const;

private:
    std::vector<double> m_times;  // ms
};

/// A Blended Navigation that the bus was told of.
struct Told {
    double at;  // ms, wall clock
    Epochs::Read made;
};

/// How what was told agrees with what was sent, by the rule that all six inputs are new in each one, and the latest.
namespace Joins {

/// The four inputs whose epoch gets through as it is, in this order.
enum Input { UtcTime, Pnt, Mis, Receiver, kInputs };
using Sent = std::array<SentTimes, kInputs>;

struct Findings {
    std::size_t usedTwice = 0;       ///< inputs that are in two records
    std::size_t neverSent = 0;       ///< inputs in a record that were not sent, or later than it was told
    std::size_t ofAnotherBlock = 0;  ///< records whose position or assurance is of another block of time
    std::vector<double> latency;     ///< ms from sending the latest of a record's inputs to the record, to a ms
    std::vector<double> outdated;    ///< ms for which a newer input had been sent already; 0 if there was none
};

/// @param blockEpochs  epochs in a block of time
Findings judge(std::span<const Told> told, const Sent& sent, std::int32_t blockEpochs);

}  // namespace Joins

#endif
