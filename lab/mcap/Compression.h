#ifndef LAB_MCAP_COMPRESSION_H
#define LAB_MCAP_COMPRESSION_H

#include "lab/mcap/Bytes.h"

#include <vector>

/// Bytes made shorter by zstd. Pure functions, any thread.
namespace mcap {

/// Throws `std::bad_alloc`.
std::vector<std::uint8_t> compressed(Bytes bytes);

/// Throws `Malformed` for what is not made of exactly `size` bytes; no more memory than for these is taken.
std::vector<std::uint8_t> decompressed(Bytes bytes, std::size_t size);

}  // namespace mcap

#endif
