#ifndef LAB_UNIT_OUTPUTS_H
#define LAB_UNIT_OUTPUTS_H

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace unitsim {

/// What is sent once an epoch, in this order: five topics, and the receiver's report on its queue.
enum class Output : std::size_t {
    PositionVelocityAttitude,
    UTCTime,
    HalvexPNT,
    MeasurementIncorporationStatus,
    AssuranceState,
    Report8504
};
constexpr std::size_t kOutputs = 6;
constexpr std::array<const char*, kOutputs> kOutputNames = {
    "PositionVelocityAttitude", "UTCTime", "HalvexPNT", "MeasurementIncorporationStatus", "AssuranceState", "8504"};
constexpr std::array<const char*, kOutputs> kShortOutputNames = {"pva", "utc", "pnt", "mis", "assurance", "8504"};

constexpr std::size_t indexOf(Output output)
{
    return static_cast<std::size_t>(output);
}

/// By its name or its short name; none if there is no such output.
constexpr std::optional<Output> outputNamed(std::string_view name)
{
    for (std::size_t i = 0; i < kOutputs; ++i)
        if (name == kOutputNames[i] || name == kShortOutputNames[i]) return static_cast<Output>(i);
    return std::nullopt;
}

}  // namespace unitsim

#endif
