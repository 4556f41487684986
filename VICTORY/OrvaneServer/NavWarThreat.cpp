#include "VICTORY/OrvaneServer/NavWarThreat.h"

#include "utilities/StringUtils.h"

#include <numbers>

namespace {

double radians(std::int16_t degrees)
{
    return degrees * std::numbers::pi / 180.0;
}

}  // namespace

std::int16_t NormalizeInt16Value(std::int16_t value, std::int16_t low, std::int16_t high)
{
    const auto step = static_cast<std::int16_t>(high - low + 1);
    if (high < low || step < 1) return value;
    while (value < low) value = static_cast<std::int16_t>(value + step);
    while (value > high) value = static_cast<std::int16_t>(value - step);
    return value;
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
