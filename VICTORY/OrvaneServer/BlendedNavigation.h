#ifndef VICTORY_ORVANESERVER_BLENDEDNAVIGATION_H
#define VICTORY_ORVANESERVER_BLENDEDNAVIGATION_H

#include "VICTORY/libvictory/victory.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <span>

/// How the unit's own messages become the bus library's Blended Navigation record. Pure functions but for the print of
/// a time, any thread.
namespace BlendedNavigation {

/// The inputs of one record.
struct Inputs {
    const aspn2_msgs::idl::UTCTime& utcTime;
    const aspn2_msgs::idl::HalvexPNT& pnt;
    const aspn2_msgs::idl::MeasurementIncorporationStatus& mis;
    const aspn2_msgs::idl::PositionVelocityAttitude& pva;
    const aspn2_msgs::idl::AssuranceState& assurance;
    const unpacked_msg8504_t& receiver;
    bool gpsLost;
};

/// The sources of measurements by `meas_set_id`.
std::span<const VapntcMeasSource> measSources();

/// The row of a `meas_set_id`; null if there is none.
using SourceOf = std::function<const VapntcMeasSource*(unsigned short id)>;

/// The record, zero wherever it has nothing to say. Figures of merit are those of `PositionUtilities` and
/// `TimeUtilities`; the horizontal position error, in m, is told as 1.1774 standard deviations (half of a circular
/// distribution), the vertical one as it comes, deliberately.
/// @param sourceOf  gives the row to tell a measurement by
VapntcBlendedNavigationRecord record(const Inputs& inputs, const SourceOf& sourceOf);

/// The table of the sources, which the owner of the bus service makes at each of its starts. Any thread.
class MeasSources {
public:
    void initMeasSourceEncoder();

    /// The source row of an id; null if there is none, which is so for all before the table is made.
    const VapntcMeasSource* encodeVictoryMeasSource(unsigned short id) const;

private:
    std::atomic<std::size_t> m_measSourceRows = 0;
};

/// The UTC date and time of day of a time message, cut to whole nanoseconds.
VapntcTime victoryTime(const aspn2_msgs::idl::UTCTime& utcTime);

/// Sets `time` to that.
/// @param print  shows it on the console too, its numbers running together
void set_VictoryTime(VapntcTime& time, const aspn2_msgs::idl::UTCTime& utcTime, bool print);

/// Seconds of the GPS week.
double gpsSeconds(const aspn2_msgs::idl::UTCTime& utcTime);

}  // namespace BlendedNavigation

#endif
