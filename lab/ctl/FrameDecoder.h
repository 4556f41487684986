#ifndef LAB_CTL_FRAMEDECODER_H
#define LAB_CTL_FRAMEDECODER_H

#include "aspn2_msgs/header.h"
#include "ioss_mcsq/GssipBytes.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// Bytes of GSSIP frames as named values. Pure functions, any thread.
namespace orvanectl {

using gssip::Bytes;

/// An object keeps its members in the order in which they were set.
using Json = nlohmann::ordered_json;

/// A frame as far as it could be decoded, and what is wrong with it.
///
/// `fields` has the member `frame` with the header (`header_checksum` is "good" or "bad", `data_checksum` also
/// "absent"), and then `message` for a message that is known and has its length, else `words` if there are data. Fewer
/// bytes than a header has are the member `bytes` alone. Texts are printable ASCII. Numbers that are not finite stand as
/// they are; JSON has none, see `jsonLine`.
///
/// `units` has the units of numbers by the names of `fields`, as `paragraph` takes them.
struct DecodedFrame {
    Json fields;
    std::vector<std::string> problems;
    Json units;
};

/// @param frame  the bytes of one frame; any will do
DecodedFrame decodeFrame(Bytes frame);

/// The header of a record: sequence number, times, and the device id by its bytes and names.
Json decodeHeader(const aspn2_msgs::idl::header& header);

/// The text up to its trailing zero bytes. A byte that is not printable ASCII becomes \xNN, a backslash two.
std::string printable(std::string_view text);

/// Two hexadecimal digits a byte, in capitals.
std::string hexOf(Bytes bytes);

}  // namespace orvanectl

#endif
