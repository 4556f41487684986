#include "VICTORY/OrvaneServer/BlendedNavigation.h"

#include "utilities/AngleUtility.h"
#include "utilities/GpsDateTime.h"
#include "utilities/PositionUtilities.h"
#include "utilities/Saturate.h"
#include "utilities/StringUtils.h"
#include "utilities/TimeUtilities.h"

#include <array>
#include <cmath>
#include <numbers>

namespace BlendedNavigation {

namespace {

constexpr double kCircularErrorProbable = 1.1774;
constexpr double kMillisecondsPerSecond = 1000.0;
constexpr int kWorstFom = 9;
constexpr int kBestFom = 1;
constexpr std::uint32_t kAssured = 2;

/// GPS measurements: row 1 of the sources stands for all of them.
constexpr std::int32_t kFirstGpsSet = 1;
constexpr std::int32_t kLastGpsSet = 4;

double degrees(double radians)
{
    return radians * 180.0 / std::numbers::pi;
}

VapntcMeasSource sourceOf(std::uint32_t type, const char* description = nullptr)
{
    VapntcMeasSource row = {};
    row.sourceType = type;
    if (description) {
        StringUtils::strncpy_prot(row.description, description, sizeof row.description);
        row.descriptionValid = 1;
    }
    return row;
}

void addSource(VapntcBlendedNavigationRecord& record, std::int64_t id, std::span<const VapntcMeasSource> sources)
{
    if (id < 0 || static_cast<std::uint64_t>(id) >= sources.size() || record.sourceCount >= VAPNTC_MAX_ROWS) return;
    record.sources[record.sourceCount++] = sources[static_cast<std::size_t>(id)];
}

void addSources(VapntcBlendedNavigationRecord& record, const Inputs& inputs, std::span<const VapntcMeasSource> sources)
{
    if (!inputs.gpsLost) addSource(record, kFirstGpsSet, sources);
    for (const auto& entry : inputs.mis.meas_types()) {
        const auto id = entry.meas_set_id();
        if (id >= kFirstGpsSet && id <= kLastGpsSet) continue;
        if (entry.meas_used() < 1 && id != 0) continue;
        addSource(record, id, sources);
    }
    record.gpsAvailability = inputs.gpsLost ? VAPNTC_GPS_NOT_AVAILABLE : VAPNTC_GPS_AVAILABLE;
}

void addFiguresOfMerit(VapntcBlendedNavigationRecord& record, const Inputs& inputs)
{
    const auto& covariance = inputs.pva.covariance();
    const double positionVariance = covariance[0][0] + covariance[1][1] + covariance[2][2];
    const int fom = PositionUtilities::PosVar2Fom(positionVariance);
    record.positionValid = fom < kWorstFom;
    record.fom = static_cast<std::uint32_t>(fom);
    record.fomValid = 1;
    if (fom == kBestFom) {
        record.efom = static_cast<std::uint32_t>(PositionUtilities::PosVar2Efom(positionVariance));
        record.efomValid = 1;
    }
    record.tfom = static_cast<std::uint32_t>(TimeUtilities::TimeVar2Tfom(inputs.utcTime.covariance()[0][0]));
    record.tfomValid = 1;
}

void addErrors(VapntcBlendedNavigationRecord& record, const Inputs& inputs)
{
    const auto& pnt = inputs.pnt;
    record.positionErrorPresent = 1;
    record.timeError = std::sqrt(inputs.utcTime.covariance()[0][0]) * kMillisecondsPerSecond;
    record.timeErrorValid = 1;
    record.horizontalPositionError = pnt.Horz_PosError() * kCircularErrorProbable;
    record.horizontalPositionErrorValid = 1;
    record.verticalPositionError = pnt.Vert_PosError();
    record.verticalPositionErrorValid = 1;

    record.velocityErrorPresent = 1;
    record.horizontalVelocityError = pnt.Horz_Vel_Error();
    record.horizontalVelocityErrorValid = 1;
    record.verticalVelocityError = pnt.Vert_VelError();
    record.verticalVelocityErrorValid = 1;

    record.attitudeErrorPresent = 1;
    record.attitudeError =
        degrees(std::sqrt(pnt.Roll_Error() * pnt.Roll_Error() + pnt.Pitch_Error() * pnt.Pitch_Error() +
                          pnt.Heading_Error() * pnt.Heading_Error()));
    record.attitudeErrorValid = 1;
}

}  // namespace

std::span<const VapntcMeasSource> measSources()
{
    static const std::array<VapntcMeasSource, 12> rows = {
        sourceOf(3),
        sourceOf(0),
        sourceOf(0),
        sourceOf(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "GPS_L1_DELTARANGE"),
        sourceOf(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "GPS_L2_DELTARANGE"),
        sourceOf(4),
        sourceOf(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "SPEED_SENSOR_STATIONARY"),
        sourceOf(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "SPEED_SENSOR_ZERO_ANGULAR_RATE"),
        sourceOf(5),
        sourceOf(11),
        sourceOf(2),
        sourceOf(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "ALTNAV_TIME")};
    return rows;
}

VapntcBlendedNavigationRecord record(const Inputs& inputs, std::span<const VapntcMeasSource> sources)
{
    VapntcBlendedNavigationRecord record = {};
    record.gpsSeconds = gpsSeconds(inputs.utcTime);
    const double angle = inputs.receiver.angle084;
    record.angleDegrees = AngleUtility::NormalizeValue(degrees(angle), -180.0, 180.0);
    record.secondReceiverStatus = bitsOf(inputs.receiver.status101, msg8504::kStatus101Bit2);
    record.receiverFailure = bitsOf(inputs.receiver.status096, msg8504::kStatus096ReceiverFailure);
    addFiguresOfMerit(record, inputs);
    const auto assurance = static_cast<std::uint32_t>(inputs.assurance.assurance_state());
    record.assuranceConfidence = assurance == kAssured ? 0.95 : 0.5;
    record.assuranceKnown = assurance != 0;
    addSources(record, inputs, sources);
    addErrors(record, inputs);
    return record;
}

VapntcTime victoryTime(const aspn2_msgs::idl::UTCTime& utcTime)
{
    GpsDateTime moment(static_cast<std::uint32_t>(utcTime.gps_week()), utcTime.gps_tow_sec(), utcTime.utc_tod_sec(),
                       utcTime.utc_tod_nsec());
    GpsDateTime::CivilTimeStruct civil;
    moment.ToCivilTime(civil, 0);  // it is UTC already

    VapntcTime time = {};
    time.year = civil.year;
    time.month = civil.month;
    time.day = civil.day;
    time.hour = static_cast<std::uint32_t>(civil.hour);
    time.minute = static_cast<std::uint32_t>(civil.minute);
    time.seconds = saturate<std::uint32_t>(std::floor(civil.seconds));
    time.nanoseconds = saturate<std::uint32_t>((civil.seconds - std::floor(civil.seconds)) * 1e9);
    return time;
}

double gpsSeconds(const aspn2_msgs::idl::UTCTime& utcTime)
{
    return utcTime.gps_tow_sec() + utcTime.gps_tow_nsec() * 1e-9;
}

}  // namespace BlendedNavigation
