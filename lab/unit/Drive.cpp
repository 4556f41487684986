#include "lab/unit/Drive.h"

#include "lab/unit/Geometry.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace unitsim {

using QD_K71T_geometry::Vector3d;

bool WayPoint::operator==(const WayPoint& other) const
{
    return seconds == other.seconds && position[0] == other.position[0] && position[1] == other.position[1] &&
           position[2] == other.position[2];
}

double legLength(const Vector3d& from, const Vector3d& to)
{
    const double middle = (from[0] + to[0]) / 2.0;
    const double height = (from[2] + to[2]) / 2.0;
    const double north = (to[0] - from[0]) * (meridianRadius(middle) + height);
    const double east = halfTurn(to[1] - from[1]) * (primeVerticalRadius(middle) + height) * std::cos(middle);
    return std::hypot(north, east, to[2] - from[2]);
}

Drive::Drive(const Vector3d& position, std::optional<double> heading) : m_points{{0.0, position}}, m_heading(heading) {}

void Drive::to(const Vector3d& position, double speed)
{
    const WayPoint& last = m_points.back();
    const double length = legLength(last.position, position);
    if (length > 0.0) add({last.seconds + length / speed, position});
}

void Drive::stand(double seconds)
{
    const WayPoint last = m_points.back();
    if (seconds > 0.0) m_points.push_back({last.seconds + seconds, last.position});
}

void Drive::add(const WayPoint& point)
{
    if (point.seconds <= 0.0) {
        m_points.back() = point;
        return;
    }
    const Vector3d& before = m_points.back().position;
    m_points.push_back(
        {point.seconds, {point.position[0], before[1] + halfTurn(point.position[1] - before[1]), point.position[2]}});
}

double Drive::Motion::heading() const
{
    return fullTurn(std::atan2(east, north));
}

double Drive::standingHeading(std::size_t leg) const
{
    for (std::size_t before = leg; before-- > 0;)
        if (moves(before)) return motionOf(before, m_points[before + 1].position).heading();
    if (m_heading) return *m_heading;
    for (std::size_t later = leg; later + 1 < m_points.size(); ++later)
        if (moves(later)) return motionOf(later, m_points[later].position).heading();
    return 0.0;
}

bool Drive::moves(std::size_t leg) const
{
    const Vector3d& from = m_points[leg].position;
    const Vector3d& to = m_points[leg + 1].position;
    return from[0] != to[0] || from[1] != to[1];
}

Drive::Motion Drive::motionOf(std::size_t leg, const Vector3d& position) const
{
    const WayPoint& from = m_points[leg];
    const WayPoint& to = m_points[leg + 1];
    const double time = to.seconds - from.seconds;
    return {(to.position[0] - from.position[0]) / time * (meridianRadius(position[0]) + position[2]),
            (to.position[1] - from.position[1]) / time * (primeVerticalRadius(position[0]) + position[2]) *
                std::cos(position[0]),
            -(to.position[2] - from.position[2]) / time};
}

VehicleState Drive::at(double seconds) const
{
    // The leg that the time is in; its end belongs to the next.
    const auto next = std::upper_bound(m_points.begin(), m_points.end(), seconds,
                                       [](double time, const WayPoint& point) { return time < point.seconds; });
    const auto passed = static_cast<std::size_t>(std::distance(m_points.begin(), next));
    VehicleState state;
    Motion motion;
    std::size_t leg = 0;
    if (passed == 0 || next == m_points.end()) {
        state.position = passed == 0 ? m_points.front().position : m_points.back().position;
        leg = passed == 0 ? 0 : m_points.size() - 1;
    } else {
        leg = passed - 1;
        const WayPoint& from = m_points[leg];
        const double share = (seconds - from.seconds) / (next->seconds - from.seconds);
        for (std::size_t i = 0; i < 3; ++i)
            state.position[i] = from.position[i] + share * (next->position[i] - from.position[i]);
        motion = motionOf(leg, state.position);
    }
    state.velocity = {motion.north, motion.east, motion.down};
    const double ground = std::hypot(motion.north, motion.east);
    state.attitude = {0.0, ground > 0.0 ? std::atan2(-motion.down, ground) : 0.0,
                      ground > 0.0 ? motion.heading() : standingHeading(leg)};
    state.position[1] = halfTurn(state.position[1]);
    return state;
}

}  // namespace unitsim
