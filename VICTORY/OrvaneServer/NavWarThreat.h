#ifndef VICTORY_ORVANESERVER_NAVWARTHREAT_H
#define VICTORY_ORVANESERVER_NAVWARTHREAT_H

#include "VICTORY/libvictory/victory.h"
#include "ioss_mcsq/ThreatData.h"

#include <cstdint>

/// Folds a value into `low` to `high`: adds the span `high - low + 1` while it is below, then takes it off while it is
/// above. The span is one more than the range, deliberately: 181 folds to -180. Span and sums are signed and of 16
/// bits, so they wrap. Where that would never end the value comes back as it was: only bounds in the wrong order can do
/// that.
std::int16_t NormalizeInt16Value(std::int16_t value, std::int16_t low, std::int16_t high);

/// A line of bearing as the bus library's threat; zero wherever it has nothing to say.
VapntcNavWarSaThreat navWarThreat(const ThreatEntry& entry, const VapntcTime& time);

#endif
