#ifndef LAB_UNIT_RANDOMEVENTS_H
#define LAB_UNIT_RANDOMEVENTS_H

#include "lab/unit/Events.h"

#include <cstdint>
#include <random>

namespace unitsim {

/// Threat reports, or warnings, without end, at moments that have nothing to do with each other (a Poisson process). The
/// same seed, kind and rate give the same events. One thread at a time.
class RandomEvents {
public:
    enum class Kind : std::uint32_t { Threats = 1, Warnings = 2 };

    /// @param rateHz  events a second on the average, above 0
    RandomEvents(std::uint64_t seed, Kind kind, double rateHz);

    /// Not before the one of the call before.
    Event next();

private:
    std::int32_t whole(std::int32_t low, std::int32_t high);
    bool happensOneIn(std::int32_t count) { return whole(1, count) == 1; }
    Threat threat();
    ThreatReport report();
    Warning warning();

    Kind m_kind;
    std::mt19937_64 m_random;
    std::exponential_distribution<double> m_gap;
    double m_seconds = 0.0;
};

}  // namespace unitsim

#endif
