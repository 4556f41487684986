#ifndef LAB_UNIT_WORLD_H
#define LAB_UNIT_WORLD_H

#include "lab/unit/Drive.h"
#include "lab/unit/Events.h"
#include "lab/unit/Geometry.h"
#include "lab/unit/Window.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace unitsim {

/// A source of interference that stands somewhere and sends to all sides.
struct Jammer {
    QD_K71T_geometry::Vector3d position;  ///< latitude and longitude, radians; height, metres
    double powerDbm = 0.0;                ///< radiated, as of an antenna that sends to all sides alike
    double centerMhz = 1575.4;
    double bandwidthMhz = 2.0;
    Window when;
};

/// Where things are: what a scenario tells besides moments.
struct World {
    static constexpr std::size_t kMostJammers = ThreatReport::kMost;

    std::vector<Jammer> jammers;  ///< `kMostJammers` at the most
    std::optional<Drive> drive;   ///< none: the usual course
};

/// What arrives of a source at a place, dBm: its power less the path loss.
double receivedDbm(const Jammer& jammer, double range);

/// The interference that arrives in the band of L1, dBm: the sum over the sources that send then; minus infinity for
/// none.
double jamDbm(const World& world, double seconds, const QD_K71T_geometry::Vector3d& position);

/// Whether the receiver has GPS: lost and found at different levels, so that it doesn't go to and fro. One thread at a
/// time.
class GpsReception {
public:
    /// @param dbHz  carrier to noise density
    /// @return whether GPS is lost
    bool update(double dbHz);

private:
    bool m_lost = false;
};

/// The anti-jam sensor: hears what arrives with -110 dBm or more, and tells of it once more, as ended, when that is over.
/// Bearings are from true north. One thread at a time.
class AntiJamSensor {
public:
    static constexpr double kFloorDbm = -110.0;

    /// @return the lines of bearing at this moment, in the order of the sources; empty: nothing is to be told
    ThreatReport look(const World& world, double seconds, const QD_K71T_geometry::Vector3d& position);

private:
    std::array<bool, World::kMostJammers> m_heard = {};
};

/// Percent by 25: 1 from the floor on, one more each 10 dB, 4 at the most.
unsigned confidenceTimes25Of(double dbm);

}  // namespace unitsim

#endif
