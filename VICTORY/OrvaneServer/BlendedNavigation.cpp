#include "VICTORY/OrvaneServer/BlendedNavigation.h"

#include "utilities/AngleUtility.h"
#include "utilities/ConsoleLine.h"
#include "utilities/GpsDateTime.h"
#include "utilities/PositionUtilities.h"
#include "utilities/Saturate.h"
#include "utilities/TimeUtilities.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <sstream>
#include <string_view>
#include <utility>

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

constexpr VapntcMeasSource source(std::uint32_t type, std::string_view description = {})
{
    VapntcMeasSource row = {};
    row.sourceType = type;
    std::copy(description.begin(), description.end(), row.description);
    row.descriptionValid = !description.empty();
    return row;
}

constexpr std::array<VapntcMeasSource, 12> kSources = {
    source(3),
    source(0),
    source(0),
    source(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "GPS_L1_DELTARANGE"),
    source(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "GPS_L2_DELTARANGE"),
    source(4),
    source(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "SPEED_SENSOR_STATIONARY"),
    source(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "SPEED_SENSOR_ZERO_ANGULAR_RATE"),
    source(5),
    source(11),
    source(2),
    source(VAPNTC_MEAS_SOURCE_TYPE_OTHER, "ALTNAV_TIME")};

/// Ids come from outside: one beyond 16 bits has no row, and must not be cut to the id of another.
void addSource(VapntcBlendedNavigationRecord& record, std::int32_t id, const SourceOf& sourceOf)
{
    if (!std::in_range<unsigned short>(id)) return;
    const auto* const row = sourceOf(static_cast<unsigned short>(id));
    if (row && record.sourceCount < VAPNTC_MAX_ROWS) record.sources[record.sourceCount++] = *row;
}

void addSources(VapntcBlendedNavigationRecord& record, const Inputs& inputs, const SourceOf& sourceOf)
{
    if (!inputs.gpsLost) addSource(record, kFirstGpsSet, sourceOf);
    for (const auto& entry : inputs.mis.meas_types()) {
        const auto id = entry.meas_set_id();
        if (id >= kFirstGpsSet && id <= kLastGpsSet) continue;
        if (entry.meas_used() < 1 && id != 0) continue;
        addSource(record, id, sourceOf);
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
    return kSources;
}

void MeasSources::initMeasSourceEncoder()
{
    m_measSourceRows = measSources().size();
}

const VapntcMeasSource* MeasSources::encodeVictoryMeasSource(unsigned short id) const
{
    // The count alone says what there is: the rows are constants, so nothing has to be seen with it.
    return id < m_measSourceRows.load(std::memory_order_relaxed) ? &measSources()[id] : nullptr;
}

VapntcBlendedNavigationRecord record(const Inputs& inputs, const SourceOf& sourceOf)
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
    addSources(record, inputs, sourceOf);
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

void set_VictoryTime(VapntcTime& time, const aspn2_msgs::idl::UTCTime& utcTime, bool print)
{
    time = victoryTime(utcTime);
    if (!print) return;
    std::ostringstream text;
    text << time.year << time.month << time.day << ":" << time.hour << time.minute << time.seconds << "."
         << std::setfill('0') << std::setw(9) << time.nanoseconds;
    printLine(std::cout, "OrvaneServer, set_VictoryTime (", __LINE__, ") ", text.str());
}

double gpsSeconds(const aspn2_msgs::idl::UTCTime& utcTime)
{
    return utcTime.gps_tow_sec() + utcTime.gps_tow_nsec() * 1e-9;
}

}  // namespace BlendedNavigation
