#ifndef IOSS_MCSQ_GSSIPBYTES_H
#define IOSS_MCSQ_GSSIPBYTES_H

#include "ioss_mcsq/gps_msgs.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// What the words of a frame say, read from bytes of any number and alignment. Pure functions, any thread.
namespace gssip {

using Bytes = std::span<const std::uint8_t>;

/// The largest frame that a word count can tell of.
constexpr std::size_t kLargestFrameBytes = 2 * std::size_t{gssipFrameWords(0xFFFF)};

/// @param index  the word's; both of its bytes are there
constexpr std::uint16_t wordAt(Bytes bytes, std::size_t index)
{
    return static_cast<std::uint16_t>(bytes[2 * index] | bytes[2 * index + 1] << 8);
}

/// The id of the message; none if the bytes end before it does. Nothing else is looked at.
std::optional<std::uint16_t> messageIdOf(Bytes frame);

/// What must be added to make the words sum to 0 modulo 65536; 0 if they do. An odd byte at the end does not count.
std::uint16_t residualOf(Bytes bytes);

/// A header stands at the front, whole, with the delimiter and a right checksum.
bool beginsWithHeader(Bytes bytes);

/// Size of the whole frame, by the word count.
/// @param bytes  a header at least
std::size_t frameBytesOf(Bytes bytes);

/// The frame in the data of a record that tells its length; empty if there are fewer bytes than it tells, or no room
/// for an id.
Bytes frameIn(Bytes data, std::int64_t length);

}  // namespace gssip

#endif
