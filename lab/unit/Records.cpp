#include "lab/unit/Records.h"

#include "ASPN/AspnHelper.h"
#include "utilities/geodetic.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace unitsim {

using namespace aspn2_msgs::idl;
using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr std::int64_t kNano = 1'000'000'000;
constexpr double kDriftDeviation = 1e-10;  // s/s
constexpr double kStandstill = 0.1;        // m/s

/// Ids of the measurement sets.
enum MeasurementSet : std::int32_t {
    kGpsL1Range = 1,
    kGpsL2Range = 2,
    kGpsL1DeltaRange = 3,
    kGpsL2DeltaRange = 4,
    kSpeed = 5,
    kStationary = 6,
    kZeroAngularRate = 7,
    kAltNavTime = 11
};
constexpr std::size_t kMostEntries = 100;

meas_type_set entry(std::int32_t id, std::int32_t available, std::int32_t used)
{
    meas_type_set set;
    set.meas_set_id(id);
    set.meas_avail(available);
    set.meas_used(used);
    return set;
}

}  // namespace

PositionVelocityAttitude positionVelocityAttitude(const Solution& solution)
{
    PositionVelocityAttitude record;
    const VehicleState& state = solution.state;
    record.position().latitude(state.position[0]);
    record.position().longitude(state.position[1]);
    record.position().altitude(state.position[2]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        record.velocity()[axis] = state.velocity[axis];
        record.attitude()[axis] = state.attitude[axis];
        record.covariance()[axis][axis] = solution.positionError[axis] * solution.positionError[axis];
        record.covariance()[3 + axis][3 + axis] = solution.velocityError[axis] * solution.velocityError[axis];
        record.covariance()[6 + axis][6 + axis] = solution.attitudeError[axis] * solution.attitudeError[axis];
    }
    return record;
}

UTCTime utcTime(const Solution& solution)
{
    const std::int64_t ofWeek = solution.time.nanosecondsOfWeek();
    const std::int64_t ofDay = solution.time.nanosecondsOfDay();
    UTCTime record;
    record.gps_week(static_cast<std::int32_t>(solution.time.week()));
    record.gps_tow_sec(static_cast<std::int32_t>(ofWeek / kNano));
    record.gps_tow_nsec(static_cast<double>(ofWeek % kNano));
    record.utc_tod_sec(static_cast<std::int32_t>(ofDay / kNano));
    record.utc_tod_nsec(static_cast<double>(ofDay % kNano));
    record.covariance()[0][0] = solution.timeError * solution.timeError;
    record.covariance()[1][1] = kDriftDeviation * kDriftDeviation;
    return record;
}

HalvexPNT halvexPnt(const Solution& solution, std::uint32_t assurance)
{
    const VehicleState& state = solution.state;
    const Vector3d position = Geodetic::ECEF_From_Geodetic(state.position);
    auto toEcef = Geodetic::Build_CET(state.position[0], state.position[1], state.position[2]);
    const Vector3d velocity = toEcef.transpose() * state.velocity;

    HalvexPNT record;
    record.GPS_Time(static_cast<double>(solution.time.nanosecondsOfWeek()) / 1e9);
    record.UTC_Time(static_cast<double>(solution.time.nanosecondsOfDay()) / 1e9);
    record.ECEF_Pos_X(position[0]);
    record.ECEF_Pos_Y(position[1]);
    record.ECEF_Pos_Z(position[2]);
    record.ECEF_Vel_X(velocity[0]);
    record.ECEF_Vel_Y(velocity[1]);
    record.ECEF_Vel_Z(velocity[2]);
    record.Roll(state.attitude[0]);
    record.Pitch(state.attitude[1]);
    record.Heading(state.attitude[2]);
    const auto horizontal = [](const std::array<double, 3>& error) {
        return std::sqrt((error[0] * error[0] + error[1] * error[1]) / 2.0);
    };
    record.Horz_PosError(horizontal(solution.positionError));
    record.Vert_PosError(solution.positionError[2]);
    record.Horz_Vel_Error(horizontal(solution.velocityError));
    record.Vert_VelError(solution.velocityError[2]);
    record.Time_Error(solution.timeError);
    record.Roll_Error(solution.attitudeError[0]);
    record.Pitch_Error(solution.attitudeError[1]);
    record.Heading_Error(solution.attitudeError[2]);
    record.GPS_Week(solution.time.week());
    record.HX_PNT_Solution_Assurance(HX_PNT_Solution_Assurance_enum{assurance});
    return record;
}

MeasurementIncorporationStatus measurementStatus(const Solution& solution, std::size_t entries)
{
    const Vector3d& velocity = solution.state.velocity;
    const std::int32_t stands = std::hypot(velocity[0], velocity[1], velocity[2]) < kStandstill ? 1 : 0;
    const auto gps = [&](std::int32_t satellites) { return solution.gpsLost ? 0 : satellites; };

    MeasurementIncorporationStatus record;
    auto& sets = record.meas_types();
    sets = {entry(kGpsL1Range, gps(9), gps(8)),
            entry(kGpsL2Range, gps(8), gps(7)),
            entry(kGpsL1DeltaRange, gps(9), gps(8)),
            entry(kGpsL2DeltaRange, gps(8), gps(7)),
            entry(kSpeed, 1, 1),
            entry(kStationary, stands, stands),
            entry(kZeroAngularRate, stands, stands),
            entry(kAltNavTime, 1, 1)};
    if (entries != 0) sets.resize(std::min(entries, kMostEntries), entry(kSpeed, 1, 1));
    record.num_measurement_types(static_cast<std::int32_t>(sets.size()));
    return record;
}

AssuranceState assuranceState(std::uint32_t assurance)
{
    AssuranceState record;
    record.assurance_state(assurance_state_enum{assurance});
    return record;
}

std::uint32_t assuranceOf(const Solution& solution, const std::optional<std::uint32_t>& fixed)
{
    if (fixed) return *fixed;
    return solution.gpsLost ? 1 : 2;
}

void stamp(header& header, std::int64_t sequence, std::uint32_t deviceId, std::uint64_t validTicks,
           std::uint64_t arrivalTicks)
{
    header.seq_num(sequence);
    header.device_id(static_cast<std::int32_t>(deviceId));
    ASPN2::setToV_fromFpgaTicks(validTicks, header);
    ASPN2::setToA_fromFpgaTicks(arrivalTicks, header);
}

}  // namespace unitsim
