#include "lab/mcap/Crc32.h"

#include <array>

namespace mcap {

namespace {

using Row = std::array<std::uint32_t, 256>;

constexpr std::size_t kAtOnce = 8;  // bytes

/// Row k has what a byte does to the register k bytes later, so that some are looked up at once.
constexpr std::array<Row, kAtOnce> makeTables()
{
    std::array<Row, kAtOnce> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) value = (value & 1) != 0 ? value >> 1 ^ 0xEDB88320 : value >> 1;
        tables[0][byte] = value;
    }
    for (std::size_t row = 1; row < tables.size(); ++row)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[row][byte] = tables[row - 1][byte] >> 8 ^ tables[0][tables[row - 1][byte] & 0xFF];
    return tables;
}

constexpr std::array<Row, kAtOnce> kTables = makeTables();
static_assert(kTables[0][1] == 0x77073096 && kTables[0][255] == 0x2D02EF8D);

}  // namespace

void Crc32::add(Bytes bytes)
{
    std::uint32_t value = m_register;
    for (; bytes.size() >= kAtOnce; bytes = bytes.subspan(kAtOnce)) {
        value ^= std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
                 std::uint32_t{bytes[3]} << 24;
        value = kTables[7][value & 0xFF] ^ kTables[6][value >> 8 & 0xFF] ^ kTables[5][value >> 16 & 0xFF] ^
                kTables[4][value >> 24] ^ kTables[3][bytes[4]] ^ kTables[2][bytes[5]] ^ kTables[1][bytes[6]] ^
                kTables[0][bytes[7]];
    }
    for (const std::uint8_t byte : bytes) value = value >> 8 ^ kTables[0][(value ^ byte) & 0xFF];
    m_register = value;
}

std::uint32_t crc32Of(Bytes bytes)
{
    Crc32 sum;
    sum.add(bytes);
    return sum.value();
}

}  // namespace mcap
