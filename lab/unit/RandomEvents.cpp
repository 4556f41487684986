#include "lab/unit/RandomEvents.h"

#include <iterator>

namespace unitsim {

namespace {

std::mt19937_64 engineOf(std::uint64_t seed, RandomEvents::Kind kind)
{
    std::seed_seq sequence{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32),
                           static_cast<std::uint32_t>(kind)};
    return std::mt19937_64(sequence);
}

constexpr std::uint16_t kCenters[] = {31508, 24552, 23529};  // L1, L2 and L5, of 50 kHz
constexpr const char* kTexts[] = {"", "ANTENNA OPEN", "LOW BATTERY", "KEYS EXPIRE TODAY", "JAMMER DETECTED"};

}  // namespace

RandomEvents::RandomEvents(std::uint64_t seed, Kind kind, double rateHz)
    : m_kind(kind), m_random(engineOf(seed, kind)), m_gap(rateHz)
{}

std::int32_t RandomEvents::whole(std::int32_t low, std::int32_t high)
{
    return std::uniform_int_distribution<std::int32_t>(low, high)(m_random);
}

Threat RandomEvents::threat()
{
    Threat threat;
    if (happensOneIn(8)) threat.state = static_cast<std::uint8_t>(whole(0, 3));
    threat.hasBearing = !happensOneIn(8);
    threat.azimuthDegrees = static_cast<std::int16_t>(whole(-180, 180));
    threat.elevationDegrees = static_cast<std::int16_t>(whole(-90, 90));
    threat.center = kCenters[whole(0, static_cast<std::int32_t>(std::size(kCenters)) - 1)];
    if (!happensOneIn(4)) threat.bandwidthKhz = static_cast<std::uint16_t>(whole(1, 30000));
    if (!happensOneIn(4)) threat.power = static_cast<std::int16_t>(whole(-120, 0));
    if (!happensOneIn(4)) threat.confidenceTimes25 = static_cast<unsigned>(whole(0, 4));
    return threat;
}

ThreatReport RandomEvents::report()
{
    ThreatReport report;
    for (std::int32_t left = whole(1, static_cast<std::int32_t>(ThreatReport::kMost)); left > 0; --left)
        report.threats.push_back(threat());
    return report;
}

Warning RandomEvents::warning()
{
    Warning warning;
    warning.number = static_cast<std::uint16_t>(whole(0, 99));
    warning.text = kTexts[whole(0, static_cast<std::int32_t>(std::size(kTexts)) - 1)];
    return warning;
}

Event RandomEvents::next()
{
    m_seconds += m_gap(m_random);
    if (m_kind == Kind::Threats) return {m_seconds, report()};
    return {m_seconds, warning()};
}

}  // namespace unitsim
