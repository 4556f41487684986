#ifndef RELIABILITY_RESTART_PROMISE_H
#define RELIABILITY_RESTART_PROMISE_H

#include "reliability/restart/Cycles.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// What the manual (docs/operation.md) promises of a service that was killed and started anew, in seconds from when it
/// runs again to when its peer hears it.
struct Promise {
    double usual;                   ///< of half of the cycles
    std::optional<double> longest;  ///< of all but the deaf; not promised everywhere
    double deafRate;                ///< of how many cycles the peer may stay deaf

    bool operator==(const Promise&) const = default;
};

/// @param transport  of the service, as the connection file has it
/// @param pause      from its death to its restart
/// @return nothing where the manual promises nothing
std::optional<Promise> promiseOf(const std::string& transport, std::chrono::milliseconds pause);

/// What did not hold, in words. A few cycles can't tell a rate: more of them than by chance, one time in a hundred,
/// must have been deaf.
std::vector<std::string> brokenOf(const Promise& promise, const CyclesSeen& seen, int cycles);

/// A row of the table.
struct CyclesRow {
    Cycles cycles;
    CyclesSeen seen;
};

/// What did not hold over all rows with one promise, though each row alone may be chance.
std::vector<std::string> brokenOverAll(const std::vector<CyclesRow>& rows);

#endif
