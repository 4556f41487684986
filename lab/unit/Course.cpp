#include "lab/unit/Course.h"

#include "lab/unit/Geometry.h"

#include <cmath>
#include <numbers>

namespace unitsim {

using std::numbers::pi;

namespace {

constexpr double kLatitude = 39.5 * pi / 180.0;
constexpr double kLongitude = -76.1 * pi / 180.0;
constexpr double kHeight = 92.0;        // m
constexpr double kNorthRadius = 600.0;  // m
constexpr double kEastRadius = 300.0;   // m
constexpr double kRise = 5.0;           // m
constexpr double kStopSeconds = 60.0;   // from one stop to the next
constexpr double kMeanRate = 0.0155;    // rad/s round the ellipse
constexpr double kGravity = 9.80665;    // m/s^2
constexpr double kRollGradient = 0.05;  // rad of roll for one g across

}  // namespace

VehicleState Course::at(double seconds)
{
    const double phase = 2.0 * pi * seconds / kStopSeconds;
    const double angle = kMeanRate * (seconds - kStopSeconds / (2.0 * pi) * std::sin(phase));
    const double rate = kMeanRate * (1.0 - std::cos(phase));

    // Metres of latitude and of longitude at the centre, by which the ellipse becomes angles.
    const double northScale = meridianRadius(kLatitude) + kHeight;
    const double eastScale = (primeVerticalRadius(kLatitude) + kHeight) * std::cos(kLatitude);
    const double latitude = kLatitude + kNorthRadius * std::cos(angle) / northScale;
    const double longitude = kLongitude + kEastRadius * std::sin(angle) / eastScale;
    const double height = kHeight + kRise * std::sin(2.0 * angle);

    // By the angle: what times `rate` is the velocity, and gives a direction at rest too.
    const double northSlope = -kNorthRadius * std::sin(angle) / northScale * (meridianRadius(latitude) + height);
    const double eastSlope =
        kEastRadius * std::cos(angle) / eastScale * (primeVerticalRadius(latitude) + height) * std::cos(latitude);
    const double downSlope = -2.0 * kRise * std::cos(2.0 * angle);
    const double groundSlope = std::hypot(northSlope, eastSlope);

    // Curvature of the plane ellipse; the drive goes through north, then east: a turn to the right.
    const double curvature = kNorthRadius * kEastRadius /
                             std::pow(std::hypot(kNorthRadius * std::sin(angle), kEastRadius * std::cos(angle)), 3);
    const double speed = groundSlope * rate;

    VehicleState state;
    state.position = {latitude, longitude, height};
    state.velocity = {northSlope * rate, eastSlope * rate, downSlope * rate};
    state.attitude = {-kRollGradient * speed * speed * curvature / kGravity, std::atan2(-downSlope, groundSlope),
                      fullTurn(std::atan2(eastSlope, northSlope))};
    return state;
}

}  // namespace unitsim
