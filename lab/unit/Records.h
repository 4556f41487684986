#ifndef LAB_UNIT_RECORDS_H
#define LAB_UNIT_RECORDS_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "lab/unit/Navigation.h"

#include <cstddef>
#include <cstdint>
#include <optional>

/// The navigator's records of one epoch, but for their headers. Pure functions, any thread. Lengths are metres, angles
/// radians, times seconds, and deviations are one sigma of one axis.
namespace unitsim {

/// Latitude, longitude, height; velocity north, east, down; roll, pitch, heading; their covariance in m^2, (m/s)^2 and
/// rad^2, of the position along north, east and down.
aspn2_msgs::idl::PositionVelocityAttitude positionVelocityAttitude(const Solution& solution);

/// GPS week without rollovers and time of week, UTC time of day; covariance of bias (s^2) and drift ((s/s)^2).
aspn2_msgs::idl::UTCTime utcTime(const Solution& solution);

/// The same solution in the Earth-centred frame.
aspn2_msgs::idl::HalvexPNT halvexPnt(const Solution& solution, std::uint32_t assurance);

/// The measurements that went in: GPS only while it is there, the speed sensor's zero updates only at rest.
/// @param entries  0 for those; otherwise so many, at most 100, filled up with more used ones of the speed sensor
aspn2_msgs::idl::MeasurementIncorporationStatus measurementStatus(const Solution& solution, std::size_t entries = 0);

aspn2_msgs::idl::AssuranceState assuranceState(std::uint32_t assurance);

/// @param fixed  the state to tell, whatever the solution; none: 2 with GPS, 1 without
std::uint32_t assuranceOf(const Solution& solution, const std::optional<std::uint32_t>& fixed);

/// Sets a header: sequence number, device id, the time of validity and the time of arrival in system counts.
void stamp(aspn2_msgs::idl::header& header, std::int64_t sequence, std::uint32_t deviceId, std::uint64_t validTicks,
           std::uint64_t arrivalTicks);

}  // namespace unitsim

#endif
