#include "lab/unit/Navigation.h"

#include "utilities/geodetic.h"

#include <cmath>

namespace unitsim {

using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr std::int64_t kNano = 1'000'000'000;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kSecondsPerWeek = 604800;
constexpr std::int64_t kGpsEpoch = 315964800;  // 6 January 1980 in seconds since 1970
constexpr double kCorrelationSeconds = 30.0;

/// A position moved by metres north, east and down.
Vector3d moved(const Vector3d& position, double north, double east, double down)
{
    const Vector3d ecef = Geodetic::ECEF_From_Geodetic(position);
    auto toEcef = Geodetic::Build_CET(position[0], position[1], position[2]);
    const Vector3d offset = toEcef.transpose() * Vector3d(north, east, down);
    const double x = ecef[0] + offset[0];
    const double y = ecef[1] + offset[1];
    const double z = ecef[2] + offset[2];
    return Geodetic::Geodetic_From_ECEF(x, y, z);
}

}  // namespace

GpsMoment GpsMoment::fromUtcSeconds(std::int64_t sinceUnixEpoch)
{
    return {(sinceUnixEpoch - kGpsEpoch + kLeapSeconds) * kNano};
}

std::int64_t GpsMoment::week() const
{
    return nanoseconds / (kSecondsPerWeek * kNano);
}

std::int64_t GpsMoment::nanosecondsOfWeek() const
{
    return nanoseconds % (kSecondsPerWeek * kNano);
}

std::int64_t GpsMoment::nanosecondsOfDay() const
{
    // 6 January 1980 began a day; a whole day is added so that the first seconds of it work too.
    return (nanoseconds + (kSecondsPerDay - kLeapSeconds) * kNano) % (kSecondsPerDay * kNano);
}

const std::array<Navigation::Quality, Navigation::kErrors> Navigation::kQualities = {{
    {20e-9, 1e-9},  // time, s
    {1.2, 0.5},
    {1.2, 0.5},
    {2.0, 0.3},  // position, m
    {0.05, 0.01},
    {0.05, 0.01},
    {0.08, 0.01},  // velocity, m/s
    {0.002, 2e-5},
    {0.002, 2e-5},
    {0.004, 1e-4},  // attitude, rad
}};

Solution Navigation::solve(double seconds, GpsMoment trueTime, bool gpsLost, double noise)
{
    if (!gpsLost) m_noise = noise;
    if (gpsLost && !m_lostSince) {
        m_lostSince = seconds;
        for (std::size_t i = 0; i < kErrors; ++i) m_errors[i].drift = kQualities[i].drift * drawn();
    } else if (!gpsLost) {
        m_lostSince.reset();
    }
    const double outage = m_lostSince ? seconds - *m_lostSince : 0.0;
    // A first-order Gauss-Markov process, which keeps its variance whatever the step.
    const double kept = m_last ? std::exp(-(seconds - *m_last) / kCorrelationSeconds) : 0.0;
    const double added = std::sqrt(1.0 - kept * kept);
    m_last = seconds;

    std::array<double, kErrors> error{};
    std::array<double, kErrors> deviation{};
    for (std::size_t i = 0; i < kErrors; ++i) {
        const Quality& quality = kQualities[i];
        m_errors[i].wandering = kept * m_errors[i].wandering + added * quality.deviation * drawn();
        error[i] = m_noise * m_errors[i].wandering + m_errors[i].drift * outage;
        deviation[i] = std::hypot(m_noise * quality.deviation, quality.drift * outage);
    }

    Solution solution;
    solution.gpsLost = gpsLost;
    solution.time.nanoseconds = trueTime.nanoseconds + std::llround(error[0] * 1e9);
    const VehicleState truth = m_course(seconds);
    solution.trueTime = trueTime;
    solution.truth = truth;
    solution.state.position = moved(truth.position, error[1], error[2], error[3]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        solution.state.velocity[axis] = truth.velocity[axis] + error[4 + axis];
        solution.state.attitude[axis] = truth.attitude[axis] + error[7 + axis];
        solution.positionError[axis] = deviation[1 + axis];
        solution.velocityError[axis] = deviation[4 + axis];
        solution.attitudeError[axis] = deviation[7 + axis];
    }
    solution.timeError = deviation[0];
    return solution;
}

}  // namespace unitsim
