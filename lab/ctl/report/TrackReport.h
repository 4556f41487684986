#ifndef LAB_CTL_REPORT_TRACKREPORT_H
#define LAB_CTL_REPORT_TRACKREPORT_H

#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "lab/ctl/report/Course.h"
#include "lab/ctl/serve/ErrorEllipse.h"
#include "lab/ctl/serve/ThinnedList.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace orvanectl {

/// The way that was driven, in metres east and north of its first point, in the plane that touches the ellipsoid of
/// WGS-84 there. One thread at a time.
class TrackReport {
public:
    static constexpr std::size_t kMostPoints = 800;
    static constexpr std::size_t kMostEllipses = 40;

    /// What is no place on earth is counted alone.
    /// @param seconds  since the start; must not go back
    void take(const aspn2_msgs::idl::PositionVelocityAttitude& message, double seconds);

    /// `origin` in degrees, `driven` in m, `unusable`, the points as columns `seconds`, `east`, `north`, and some
    /// `ellipses` of 95 percent as [seconds, east, north, major, minor, azimuth of the long axis in degrees].
    Json json() const;

private:
    struct Point {
        double east, north;  // m
        std::optional<ErrorEllipse> ellipse;
    };

    std::optional<std::pair<double, double>> m_origin;  // rad: latitude, longitude
    double m_northMetres = 0, m_eastMetres = 0;         // m/rad there
    std::optional<Point> m_last;
    double m_driven = 0;
    std::uint64_t m_unusable = 0;
    ThinnedList<Point> m_points{kMostPoints, 0.5};
};

}  // namespace orvanectl

#endif
