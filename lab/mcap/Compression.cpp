#include "lab/mcap/Compression.h"

#include <new>
#include <zstd.h>

namespace mcap {

namespace {

constexpr int kLevel = 1;  // the fastest that gives most of it

}  // namespace

std::vector<std::uint8_t> compressed(Bytes bytes)
{
    std::vector<std::uint8_t> result(ZSTD_compressBound(bytes.size()));
    const std::size_t size = ZSTD_compress(result.data(), result.size(), bytes.data(), bytes.size(), kLevel);
    if (ZSTD_isError(size) != 0) throw std::bad_alloc();  // there is room enough: all else that can be short
    result.resize(size);
    return result;
}

std::vector<std::uint8_t> decompressed(Bytes bytes, std::size_t size)
{
    // What can't be as long takes no memory: a block of 128 KiB has three bytes of front at the least.
    constexpr std::size_t kMostTimes = 65'536;
    if (size / kMostTimes > bytes.size()) throw Malformed("is shorter than it says");
    std::vector<std::uint8_t> result(size);
    const std::size_t made = ZSTD_decompress(result.data(), result.size(), bytes.data(), bytes.size());
    if (ZSTD_isError(made) != 0) throw Malformed(std::string("can't be decompressed: ") + ZSTD_getErrorName(made));
    if (made != size) throw Malformed("is shorter than it says");
    return result;
}

}  // namespace mcap
