#include "lab/unit/World.h"

#include "lab/unit/Radio.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace unitsim {

using QD_K71T_geometry::Vector3d;

namespace {

Threat threatOf(const Jammer& jammer, const Sight& sight, double dbm)
{
    const auto degrees = [](double radians) {
        return static_cast<std::int16_t>(std::lround(radians * 180.0 / std::numbers::pi));
    };
    Threat threat;
    threat.azimuthDegrees = degrees(sight.azimuth);
    threat.elevationDegrees = degrees(sight.elevation);
    threat.center = static_cast<std::uint16_t>(std::lround(jammer.centerMhz * 20.0));
    threat.bandwidthKhz = static_cast<std::uint16_t>(std::lround(jammer.bandwidthMhz * 1000.0));
    threat.power = static_cast<std::int16_t>(std::lround(dbm));
    threat.confidenceTimes25 = confidenceTimes25Of(dbm);
    return threat;
}

}  // namespace

bool anyHolds(const std::vector<Window>& windows, double time)
{
    return std::any_of(windows.begin(), windows.end(), [&](const Window& window) { return window.holds(time); });
}

double receivedDbm(const Jammer& jammer, double range)
{
    return jammer.powerDbm - pathLossDb(range, jammer.centerMhz);
}

double jamDbm(const World& world, double seconds, const Vector3d& position)
{
    double milliwatts = 0.0;
    for (const Jammer& jammer : world.jammers)
        if (jammer.when.holds(seconds) && reachesL1(jammer.centerMhz, jammer.bandwidthMhz))
            milliwatts += std::pow(10.0, receivedDbm(jammer, sightOf(jammer.position, position).range) / 10.0);
    return 10.0 * std::log10(milliwatts);
}

bool GpsReception::update(double dbHz)
{
    m_lost = dbHz < (m_lost ? kBackFromDbHz : kLostBelowDbHz);
    return m_lost;
}

unsigned confidenceTimes25Of(double dbm)
{
    return static_cast<unsigned>(std::clamp(1.0 + std::floor((dbm - AntiJamSensor::kFloorDbm) / 10.0), 1.0, 4.0));
}

ThreatReport AntiJamSensor::look(const World& world, double seconds, const Vector3d& position)
{
    constexpr std::uint8_t kEnded = 0;
    ThreatReport report;
    for (std::size_t i = 0; i < std::min(world.jammers.size(), m_heard.size()); ++i) {
        const Jammer& jammer = world.jammers[i];
        const Sight sight = sightOf(jammer.position, position);
        const double dbm = receivedDbm(jammer, sight.range);
        const bool hears = jammer.when.holds(seconds) && dbm >= kFloorDbm;
        if (hears || m_heard[i]) {
            report.threats.push_back(threatOf(jammer, sight, dbm));
            if (!hears) report.threats.back().state = kEnded;
        }
        m_heard[i] = hears;
    }
    return report;
}

}  // namespace unitsim
