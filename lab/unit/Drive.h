#ifndef LAB_UNIT_DRIVE_H
#define LAB_UNIT_DRIVE_H

#include "lab/unit/Course.h"
#include "utilities/vector3d.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace unitsim {

/// Where a vehicle is at a time.
struct WayPoint {
    double seconds = 0.0;                 ///< from the start
    QD_K71T_geometry::Vector3d position;  ///< latitude and longitude, radians; height, metres

    bool operator==(const WayPoint& other) const;
};

/// A drive from way point to way point, on each leg with one rate of latitude, longitude and height; it stands before the
/// first and behind the last. The velocity is the derivative of the position, heading and pitch are along it, roll is 0;
/// who stands keeps the heading that it had, and at the start has the one it was given, or else that of the first leg. Any
/// thread may read.
class Drive {
public:
    /// A place to stand at, at the start.
    /// @param heading  radians; until something moves
    explicit Drive(const QD_K71T_geometry::Vector3d& position, std::optional<double> heading = std::nullopt);

    /// Appends a leg.
    /// @param speed  m/s along it, above 0
    void to(const QD_K71T_geometry::Vector3d& position, double speed);

    void stand(double seconds);

    /// Appends a leg that ends at a time, which is later than those before. The first of all takes the start's place
    /// if its time is 0.
    void add(const WayPoint& point);

    VehicleState at(double seconds) const;

    const std::vector<WayPoint>& points() const { return m_points; }

private:
    struct Motion {
        double north = 0.0, east = 0.0, down = 0.0;  // m/s

        double heading() const;
    };
    Motion motionOf(std::size_t leg, const QD_K71T_geometry::Vector3d& position) const;
    bool moves(std::size_t leg) const;

    /// Along the last leg before that moves, or else the given one, or that of the first leg from `leg` on.
    double standingHeading(std::size_t leg) const;

    std::vector<WayPoint> m_points;   // at least one; longitudes go on beyond half a turn
    std::optional<double> m_heading;  // at the start
};

/// Metres from place to place by the radii of curvature midway, the difference of heights included.
double legLength(const QD_K71T_geometry::Vector3d& from, const QD_K71T_geometry::Vector3d& to);

}  // namespace unitsim

#endif
