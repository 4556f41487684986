#ifndef LAB_CTL_FRAMEFIELDS_H
#define LAB_CTL_FRAMEFIELDS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Frames of the messages that the service takes from queues, made of fields: the way back from `decodeFrame`. Pure
/// functions, any thread. They throw `FieldError`.
namespace orvanectl {

/// A message that can be made.
struct FrameKind {
    std::string_view name;    ///< "8504"
    std::string_view queue;   ///< that carries it, by its name in the file of the devices
    std::string_view server;  ///< that sends it on the unit
};

/// The kind of this name; null if there is none.
const FrameKind* findFrameKind(std::string_view name);

/// Of all kinds.
std::vector<std::string> frameNames();

/// A whole frame of zeros, but for the fields that are set, with right checksums.
/// @param settings  FIELD=VALUE, by the names that `decodeFrame` gives: "angle084=1.5", "status096.receiver_failure=1",
///                  "threats.0.Az_degrees=90". Of a threat, `Power`, `BW_hz` and `confidence` are valid once they are set.
std::vector<std::uint8_t> frameOf(const FrameKind& kind, const std::vector<std::string>& settings);

/// Bytes from hexadecimal digits, blanks between pairs allowed.
std::vector<std::uint8_t> frameOfHex(const std::string& digits);

}  // namespace orvanectl

#endif
