#include "reliability/load/Epochs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace Epochs {

namespace {

constexpr double kRadiansPerEpoch = 3e-5;  // the last one stays below half a turn

/// A digit of an epoch: the measurement set that is sent, and the source that the bus is told of it.
struct Digit {
    std::int32_t set;
    int sourceType;
};
constexpr Digit kDigits[] = {{0, 3}, {5, 4}, {8, 5}, {9, 11}};
constexpr std::int32_t kBase = std::size(kDigits);
constexpr int kDigitCount = 9;  // 4^9 is more than kMost
constexpr int kGpsType = 0;     // that may stand in front of all others

/// One in each class of the figure of merit.
constexpr std::array<double, kPvaBlocks> kVariances = {100,    1600,    4200,    8000,
                                                       20'000, 100'000, 500'000, 4'000'000};  // m^2

}  // namespace

void write(aspn2_msgs::idl::UTCTime& message, std::int32_t epoch)
{
    message.gps_tow_sec(epoch);
}

void write(aspn2_msgs::idl::HalvexPNT& message, std::int32_t epoch)
{
    message.Horz_Vel_Error(epoch);
}

void write(aspn2_msgs::idl::MeasurementIncorporationStatus& message, std::int32_t epoch)
{
    message.meas_types().clear();
    for (int digit = 0; digit < kDigitCount; ++digit, epoch /= kBase) {
        aspn2_msgs::idl::meas_type_set entry;
        entry.meas_set_id(kDigits[epoch % kBase].set);
        entry.meas_avail(1);
        entry.meas_used(1);
        message.meas_types().push_back(entry);
    }
    message.num_measurement_types(kDigitCount);
}

void write(unpacked_msg8504_t& message, std::int32_t epoch)
{
    message.angle084 = static_cast<float>(epoch * kRadiansPerEpoch);
}

void writeBlock(aspn2_msgs::idl::PositionVelocityAttitude& message, std::int32_t block)
{
    message.covariance()[0][0] = kVariances[static_cast<std::size_t>(block % kPvaBlocks)];
}

void writeBlock(aspn2_msgs::idl::AssuranceState& message, std::int32_t block)
{
    message.assurance_state(
        aspn2_msgs::idl::assurance_state_enum{static_cast<std::uint32_t>(block % kAssuranceBlocks)});
}

std::optional<Read> read(const nlohmann::json& record)
{
    Read epochs{};
    epochs.utcTime = static_cast<std::int32_t>(record.at("gpsSeconds").get<double>());
    epochs.pnt = static_cast<std::int32_t>(record.at("horizontalVelocityError_m_per_s").get<double>());
    const double radians = record.at("angleDegrees").get<double>() * std::numbers::pi / 180.0;
    epochs.receiver = static_cast<std::int32_t>(std::lround(radians / kRadiansPerEpoch));

    int digits = 0;
    std::int32_t place = 1;
    for (const auto& source : record.at("sources")) {
        const int type = source.at("sourceType").get<int>();
        if (type == kGpsType) continue;
        const auto* const digit = std::ranges::find(kDigits, type, &Digit::sourceType);
        if (digit == std::end(kDigits) || ++digits > kDigitCount) return std::nullopt;
        epochs.mis += static_cast<std::int32_t>(digit - std::begin(kDigits)) * place;
        place *= kBase;
    }
    if (digits != kDigitCount) return std::nullopt;

    epochs.pvaBlock = record.at("fom").get<std::int32_t>() - 1;
    if (epochs.pvaBlock < 0 || epochs.pvaBlock >= kPvaBlocks) return std::nullopt;
    const bool isAssured = record.at("assuranceConfidence").get<double>() > 0.9;
    const bool isKnown = record.at("assuranceKnown").get<int>() != 0;
    epochs.assuranceBlock = isAssured ? 2 : isKnown ? 1 : 0;
    return epochs;
}

}  // namespace Epochs
