#include "lab/ctl/report/TrackReport.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvanectl {

namespace {

constexpr double kSemiMajor = 6'378'137;                // m, WGS-84
constexpr double kEccentricity2 = 0.00669437999014132;  // of the same, squared

double degrees(double radians)
{
    return radians * 180 / std::numbers::pi;
}

}  // namespace

void TrackReport::take(const aspn2_msgs::idl::PositionVelocityAttitude& message, double seconds)
{
    const double latitude = message.position().latitude(), longitude = message.position().longitude();
    const bool isPlace = std::isfinite(latitude) && std::isfinite(longitude) &&
                         std::abs(latitude) <= std::numbers::pi / 2 && std::abs(longitude) <= 2 * std::numbers::pi;
    if (!isPlace) {
        ++m_unusable;
        return;
    }
    if (!m_origin) {
        m_origin = {latitude, longitude};
        const double part = 1 - kEccentricity2 * std::sin(latitude) * std::sin(latitude);
        m_northMetres = kSemiMajor * (1 - kEccentricity2) / (part * std::sqrt(part));
        m_eastMetres = kSemiMajor / std::sqrt(part) * std::cos(latitude);
    }
    const auto& covariance = message.covariance();
    const Point point{std::remainder(longitude - m_origin->second, 2 * std::numbers::pi) * m_eastMetres,
                      (latitude - m_origin->first) * m_northMetres,
                      errorEllipse(covariance[0][0], covariance[0][1], covariance[1][1])};
    if (m_last) m_driven += std::hypot(point.east - m_last->east, point.north - m_last->north);
    m_last = point;
    m_points.append(seconds, point);
}

Json TrackReport::json() const
{
    Json seconds = Json::array(), east = Json::array(), north = Json::array(), ellipses = Json::array();
    const auto& rows = m_points.rows();
    const std::size_t every = (rows.size() + kMostEllipses - 1) / kMostEllipses;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Point& point = rows[i].value;
        seconds.push_back(roundedTo(rows[i].seconds, 0.001));
        east.push_back(roundedTo(point.east, 0.01));
        north.push_back(roundedTo(point.north, 0.01));
        if (i % every != 0 || !point.ellipse) continue;
        const Json row = {roundedTo(rows[i].seconds, 0.001),
                          roundedTo(point.east, 0.01),
                          roundedTo(point.north, 0.01),
                          roundedTo(point.ellipse->majorMetres, 0.001),
                          roundedTo(point.ellipse->minorMetres, 0.001),
                          roundedTo(point.ellipse->azimuthDegrees, 0.1)};
        if (std::ranges::none_of(row, [](const Json& number) { return number.is_null(); })) ellipses.push_back(row);
    }
    Json origin;
    if (m_origin)
        origin = {{"latitude", roundedTo(degrees(m_origin->first), 1e-7)},
                  {"longitude", roundedTo(degrees(m_origin->second), 1e-7)}};
    return {{"origin", origin},       {"driven", roundedTo(m_driven, 0.1)},
            {"unusable", m_unusable}, {"seconds", seconds},
            {"east", east},           {"north", north},
            {"ellipses", ellipses}};
}

}  // namespace orvanectl
