#ifndef IOSS_MCSQ_FIELDROWS_H
#define IOSS_MCSQ_FIELDROWS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

/// How a field stands in a data block of the receiver. The number formats are told in `utilities/cvt.h`.
enum class FieldForm : std::uint8_t {
    PdpD,      ///< a double in the record
    PdpF,      ///< a float in the record
    TovelD,    ///< a double in the record
    TovelF,    ///< a float in the record
    U16,       ///< copied
    Byte,      ///< copied; a number, bit groups or nibbles
    Text32,    ///< 32 characters, two to a word with the first in the high byte; in reading order in the record
    Block256,  ///< 256 bytes, copied
};

/// One field: its offset in the block, its form, its offset in the record, both in bytes.
struct FieldRow {
    std::uint16_t block;
    FieldForm form;
    std::uint16_t record;
};

constexpr std::size_t blockSizeOf(FieldForm form)
{
    constexpr std::size_t kSizes[] = {8, 4, 6, 4, 2, 1, 32, 256};
    return kSizes[static_cast<std::size_t>(form)];
}

constexpr std::size_t recordSizeOf(FieldForm form)
{
    constexpr std::size_t kSizes[] = {8, 4, 8, 4, 2, 1, 32, 256};
    return kSizes[static_cast<std::size_t>(form)];
}

/// True when no row reaches beyond its block or record, and none overlaps the one before it.
constexpr bool rowsFit(std::span<const FieldRow> rows, std::size_t blockSize, std::size_t recordSize)
{
    std::size_t blockEnd = 0;
    std::size_t recordEnd = 0;
    for (const FieldRow& row : rows) {
        if (row.block < blockEnd || row.record < recordEnd) return false;
        blockEnd = row.block + blockSizeOf(row.form);
        recordEnd = row.record + recordSizeOf(row.form);
    }
    return blockEnd <= blockSize && recordEnd <= recordSize;
}

/// Bytes of the block that belong to a row.
constexpr std::size_t bytesInBlock(std::span<const FieldRow> rows)
{
    std::size_t sum = 0;
    for (const FieldRow& row : rows) sum += blockSizeOf(row.form);
    return sum;
}

/// Converts every field of the block to the record; bytes of the record that belong to no row stay as they are.
/// @param rows  fit both, as `rowsFit` tells; a row that does not is left out
void unpackRows(std::span<const FieldRow> rows, std::span<const std::uint8_t> block, std::span<std::uint8_t> record);

/// The way back, by the mirrored conversions; bytes of the block that belong to no row stay as they are.
void packRows(std::span<const FieldRow> rows, std::span<const std::uint8_t> record, std::span<std::uint8_t> block);

#endif
