#include "VICTORY/OrvaneServer/NavWarThreat.h"

#include "utilities/StringUtils.h"

#include <numbers>
#include <optional>

namespace {

double radians(std::int16_t degrees)
{
    return degrees * std::numbers::pi / 180.0;
}

/// `value` after as many steps, in arithmetic of 16 bits that wraps, as it takes until it is good; nothing if that
/// never comes: the steps have led back to where they began.
template <class Test>
std::optional<std::int16_t> stepped(std::int16_t value, int step, Test isGood)
{
    std::int16_t next = value;
    while (!isGood(next)) {
        next = static_cast<std::int16_t>(next + step);
        if (next == value) return std::nullopt;
    }
    return next;
}

}  // namespace

std::int16_t NormalizeInt16Value(std::int16_t value, std::int16_t low, std::int16_t high)
{
    const auto span = static_cast<std::int16_t>(high - low + 1);
    const auto fromLow = stepped(value, span, [low](std::int16_t folded) { return folded >= low; });
    if (!fromLow) return value;
    return stepped(*fromLow, -span, [high](std::int16_t folded) { return folded <= high; }).value_or(value);
}

VapntcNavWarSaThreat navWarThreat(const ThreatEntry& entry, const VapntcTime& time)
{
    VapntcNavWarSaThreat threat = {};
    threat.reportKind = VAPNTC_NAVWAR_SA_KIND_LINE_OF_BEARING;
    threat.time = time;
    StringUtils::strncpy_prot(threat.sensorName, "TARVO-100", sizeof threat.sensorName);

    threat.bearingPresent = 1;
    threat.azimuth = radians(NormalizeInt16Value(entry.Az, -180, 180));
    threat.elevation = radians(NormalizeInt16Value(entry.El, -90, 90));
    if (entry.hasConfidence()) {
        threat.azimuthConfidenceValid = 1;
        threat.azimuthConfidence = entry.confidence();
        threat.elevationConfidenceValid = 1;
        threat.elevationConfidence = entry.confidence();
    }

    threat.centreFrequency = entry.centerHz();
    threat.bandwidth = entry.bandwidthHz();
    if (entry.hasPower()) {
        threat.power = entry.Power;
        threat.powerValid = 1;
    }
    return threat;
}
