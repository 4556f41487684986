#ifndef RELIABILITY_LOAD_EPOCHS_H
#define RELIABILITY_LOAD_EPOCHS_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

/// The number of an epoch, written into each input so that a Blended Navigation tells which ones it was made of. Of
/// two inputs only the epoch's block of time gets through, by a number that comes again: the record has too little of
/// them. Pure functions.
namespace Epochs {

/// Numbers are 1 to this.
inline constexpr std::int32_t kMost = 100'000;

/// What tells the blocks of these two apart: numbers modulo this.
inline constexpr std::int32_t kPvaBlocks = 8, kAssuranceBlocks = 3;

void write(aspn2_msgs::idl::UTCTime& message, std::int32_t epoch);
void write(aspn2_msgs::idl::HalvexPNT& message, std::int32_t epoch);
void write(aspn2_msgs::idl::MeasurementIncorporationStatus& message, std::int32_t epoch);
void write(unpacked_msg8504_t& message, std::int32_t epoch);
void writeBlock(aspn2_msgs::idl::PositionVelocityAttitude& message, std::int32_t block);
void writeBlock(aspn2_msgs::idl::AssuranceState& message, std::int32_t block);

/// Which epochs a record was made of.
struct Read {
    std::int32_t utcTime, pnt, mis, receiver;
    std::int32_t pvaBlock, assuranceBlock;
};

/// @param record  a Blended Navigation as the bus shows it; nothing if it was made of no such inputs
std::optional<Read> read(const nlohmann::json& record);

}  // namespace Epochs

#endif
