#ifndef LAB_UNIT_RECEIVERFRAMES_H
#define LAB_UNIT_RECEIVERFRAMES_H

#include "aspn2_msgs/GSSIP.h"
#include "lab/unit/Events.h"
#include "lab/unit/Navigation.h"

#include <cstdint>
#include <vector>

/// Frames as the GPS receiver sends them, in records of its queue. Pure functions, any thread.
namespace unitsim {

struct ReportFlags {
    bool receiverFailure = false;
    bool secondStatus = false;
};

/// A frame of message 8504: the time of week, the heading as `angle084`, the flags, all checksums right.
/// @param words  data words; 200 is right, with any other the data is cut or filled with zeros
std::vector<std::uint8_t> frame8504(const Solution& solution, ReportFlags flags, std::uint16_t words = 200);

/// A frame of message 5044: the time of week and the warning, all checksums right.
std::vector<std::uint8_t> frame5044(GpsMoment time, const Warning& warning);

/// A frame of message 15051: the time of week; where the sensor is, as in `Solution`, with the claimed accuracy in whole
/// metres; and the report, all checksums right. Threats beyond the most that a report has are left out.
std::vector<std::uint8_t> frame15051(GpsMoment time, const Solution& solution, const ThreatReport& report);

/// The record that carries a frame, but for its header.
aspn2_msgs::idl::GSSIP gssipRecord(std::vector<std::uint8_t> frame);

}  // namespace unitsim

#endif
