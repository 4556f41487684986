#ifndef FUZZ_UNITINPUTS_H
#define FUZZ_UNITINPUTS_H

#include "VICTORY/libvictory/victory.h"
#include "fuzz/model/NavigationModel.h"
#include "fuzz/model/WaitingModel.h"
#include "tests/VICTORY/OrvaneServer/FreshInputs.h"
#include "tests/VICTORY/OrvaneServer/WarningFrames.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

/// What the unit sends in a model's words, as the service takes it, and what the service tells of it, in those words.
namespace fuzz::UnitInputs {

template <class Message>
Message from(unsigned server, int quarters)
{
    auto message = FreshInputs::at<Message>(quarters / 4, quarters % 4 * 250'000'000);
    message.header().device_id(static_cast<std::int32_t>(server << 16));
    return message;
}

inline aspn2_msgs::idl::UTCTime timeOf(unsigned server, const NavigationModel::Input& input)
{
    auto message = from<aspn2_msgs::idl::UTCTime>(server, input.quarters);
    message.gps_tow_sec(input.mark);
    return message;
}

/// Its mark is 1 where the position is good.
inline aspn2_msgs::idl::PositionVelocityAttitude positionOf(unsigned server, const NavigationModel::Input& input)
{
    auto message = from<aspn2_msgs::idl::PositionVelocityAttitude>(server, input.quarters);
    message.covariance()[0][0] = input.mark == 1 ? 1.0 : 1e9;
    return message;
}

inline aspn2_msgs::idl::HalvexPNT solutionOf(unsigned server, const NavigationModel::Input& input)
{
    auto message = from<aspn2_msgs::idl::HalvexPNT>(server, input.quarters);
    message.Vert_PosError(input.mark);
    return message;
}

/// Measurements of both sets of GPS, and as many of others.
inline aspn2_msgs::idl::MeasurementIncorporationStatus measurementsOf(unsigned server,
                                                                      const NavigationModel::Input& input)
{
    auto message = from<aspn2_msgs::idl::MeasurementIncorporationStatus>(server, input.quarters);
    const int first = input.measurements / 2;
    const int counts[] = {9, first, input.measurements - first, 9};
    for (int set = 0; set < 4; ++set) {
        aspn2_msgs::idl::meas_type_set entry;
        entry.meas_set_id(set);
        entry.meas_avail(counts[set]);
        message.meas_types().push_back(entry);
    }
    return message;
}

inline aspn2_msgs::idl::AssuranceState assuranceOf(unsigned server, const NavigationModel::Input& input)
{
    auto message = from<aspn2_msgs::idl::AssuranceState>(server, input.quarters);
    message.assurance_state(aspn2_msgs::idl::assurance_state_enum{static_cast<std::uint8_t>(input.mark)});
    return message;
}

inline aspn2_msgs::idl::GSSIP recordOf(unsigned server, const std::vector<std::uint8_t>& frame)
{
    auto record = receiverRecordOf(frame);
    record.header().device_id(static_cast<std::int32_t>(server << 16));
    return record;
}

inline aspn2_msgs::idl::GSSIP receiverOf(unsigned server, const NavigationModel::Input& input)
{
    auto record =
        FreshInputs::receiverAt(input.quarters / 4, input.quarters % 4 * 250'000'000, static_cast<float>(input.mark));
    record.header().device_id(static_cast<std::int32_t>(server << 16));
    if (!input.isWhole) {
        record.data().resize(20);
        record.num_bytes(20);
    }
    return record;
}

/// Message 15051 with these lines first; the others are empty.
inline aspn2_msgs::idl::GSSIP threatsOf(unsigned server, const std::vector<WaitingModel::Line>& lines)
{
    std::vector<std::uint8_t> frame = {0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80};
    frame.resize(212);
    const auto put = [&](std::size_t at, auto value) { std::memcpy(&frame.at(at), &value, sizeof value); };
    std::size_t at = 48;
    for (const auto& line : lines) {
        frame.at(at) = static_cast<std::uint8_t>(line.state);
        frame.at(at + 1) = line.hasBearing ? 1 : 0;
        put(at + 4, static_cast<std::uint16_t>(line.threat.channel));
        put(at + 14, static_cast<std::int16_t>(line.threat.azimuth));
        put(at + 16, static_cast<std::int16_t>(line.threat.elevation));
        at += 18;
    }
    return recordOf(server, frame);
}

inline long degrees(double radians)
{
    return std::lround(radians * 180.0 / std::numbers::pi);
}

inline WaitingModel::Threat threatOf(const VapntcNavWarSaThreat& told)
{
    return {static_cast<int>(degrees(told.azimuth)), static_cast<int>(degrees(told.elevation)),
            static_cast<unsigned>(std::lround(told.centreFrequency / 50'000.0))};
}

/// The first record of each start of the bus service has nothing in it.
inline std::string lineOf(const VapntcBlendedNavigationRecord& told)
{
    if (told.positionErrorPresent == 0) return "navigation";
    const int assurance = told.assuranceKnown == 0 ? 0 : told.assuranceConfidence > 0.9 ? 2 : 1;
    return NavigationModel::lineOf({static_cast<int>(told.gpsSeconds), static_cast<int>(told.positionValid),
                                    static_cast<int>(told.verticalPositionError),
                                    told.gpsAvailability == VAPNTC_GPS_NOT_AVAILABLE ? 1 : 0, assurance,
                                    static_cast<int>(std::lround(told.angleDegrees * std::numbers::pi / 180.0))});
}

}  // namespace fuzz::UnitInputs

#endif
