#ifndef VICTORY_ORVANESERVER_NAVWARTHREAT_H
#define VICTORY_ORVANESERVER_NAVWARTHREAT_H

#include "VICTORY/libvictory/victory.h"
#include "ioss_mcsq/ThreatData.h"

#include <cstdint>

/// Folds a value into `low` to `high` by whole steps of `high - low + 1`, in 16 bits. The step is one more than the
/// range, deliberately: 181 folds to -180. Bounds in the wrong order fold nothing, nor do those whose step needs more
/// than 16 bits.
std::int16_t NormalizeInt16Value(std::int16_t value, std::int16_t low, std::int16_t high);

/// A line of bearing as the bus library's threat; zero wherever it has nothing to say.
VapntcNavWarSaThreat navWarThreat(const ThreatEntry& entry, const VapntcTime& time);

#endif
