#ifndef LAB_UNIT_NAVIGATION_H
#define LAB_UNIT_NAVIGATION_H

#include "lab/unit/Course.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <utility>

namespace unitsim {

/// GPS time is ahead of UTC by this much, seconds.
constexpr std::int64_t kLeapSeconds = 18;

/// A moment on the GPS scale.
struct GpsMoment {
    std::int64_t nanoseconds = 0;  ///< since 6 January 1980, not negative

    static GpsMoment fromUtcSeconds(std::int64_t sinceUnixEpoch);

    std::int64_t week() const;               ///< full, without rollovers
    std::int64_t nanosecondsOfWeek() const;  ///< GPS
    std::int64_t nanosecondsOfDay() const;   ///< UTC
};

/// What the navigator claims: the vehicle's state with errors, and their standard deviations, each per axis.
struct Solution {
    GpsMoment time;
    VehicleState state;
    GpsMoment trueTime;
    VehicleState truth;
    bool gpsLost = false;
    double timeError = 0.0;                    ///< s
    std::array<double, 3> positionError = {};  ///< north, east, down, m
    std::array<double, 3> velocityError = {};  ///< north, east, down, m/s
    std::array<double, 3> attitudeError = {};  ///< roll, pitch, heading, rad
};

/// The navigator: the true drive plus errors that have the deviations which it claims. With GPS an error wanders with
/// a correlation time of half a minute; without, a drift that is drawn anew for each outage adds to it, and the claimed
/// deviation grows with its. What disturbs GPS makes the wandering errors larger, and stays as it was last while GPS is
/// lost. The same seed and times give the same solutions. One thread at a time.
class Navigation {
public:
    /// @param course  where the vehicle is at a time
    explicit Navigation(std::uint64_t seed, std::function<VehicleState(double)> course = Course::at)
        : m_course(std::move(course)), m_random(seed)
    {}

    /// @param seconds  from the start; not before that of the call before
    /// @param noise    how many times larger the errors are than without interference
    Solution solve(double seconds, GpsMoment trueTime, bool gpsLost, double noise = 1.0);

private:
    struct Quality {
        double deviation;  // with GPS
        double drift;      // standard deviation of the drift without, 1/s
    };
    struct Error {
        double wandering = 0.0;
        double drift = 0.0;
    };
    static constexpr std::size_t kErrors = 10;  // time, position, velocity, attitude
    static const std::array<Quality, kErrors> kQualities;

    double drawn() { return m_normal(m_random); }

    std::function<VehicleState(double)> m_course;
    std::mt19937_64 m_random;
    std::normal_distribution<double> m_normal;
    std::array<Error, kErrors> m_errors = {};
    std::optional<double> m_last;  // seconds of the call before
    std::optional<double> m_lostSince;
    double m_noise = 1.0;  // with the last GPS
};

}  // namespace unitsim

#endif
