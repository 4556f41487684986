#ifndef LAB_CTL_GSSIPBYTES_H
#define LAB_CTL_GSSIPBYTES_H

#include "ioss_mcsq/gps_msgs.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// GSSIP frames as bytes from anywhere, of any number and alignment. Pure functions.
namespace orvanectl {

using Bytes = std::span<const std::uint8_t>;

/// The largest frame that a word count can tell of.
constexpr std::size_t kLargestFrameBytes = 2 * std::size_t{gssipFrameWords(0xFFFF)};

/// @param index  the word's; both of its bytes are there
inline std::uint16_t wordAt(Bytes bytes, std::size_t index)
{
    return static_cast<std::uint16_t>(bytes[2 * index] | bytes[2 * index + 1] << 8);
}

/// What must be added to make the words sum to 0 modulo 65536; 0 if they do. An odd byte at the end does not count.
inline std::uint16_t residualOf(Bytes bytes)
{
    unsigned sum = 0;
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) sum += wordAt(bytes, i);
    return static_cast<std::uint16_t>(0u - sum);
}

/// A header stands at the front, whole, with the delimiter and a right checksum.
inline bool beginsWithHeader(Bytes bytes)
{
    return bytes.size() >= kGssipHeaderBytes && wordAt(bytes, GssipWord::Delimiter) == kGssipDelimiter &&
           residualOf(bytes.first(kGssipHeaderBytes)) == 0;
}

/// Size of the whole frame, by the word count.
/// @param bytes  a header at least
inline std::size_t frameBytesOf(Bytes bytes)
{
    return 2 * static_cast<std::size_t>(gssipFrameWords(wordAt(bytes, GssipWord::Wdcnt)));
}

}  // namespace orvanectl

#endif
