#include "ioss_mcsq/FieldRows.h"

#include "utilities/cvt.h"

#include <array>
#include <bit>
#include <cstring>

namespace {

// Words and host numbers are copied as they stand in memory.
static_assert(std::endian::native == std::endian::little);

/// Copies out, converts and copies in, so that no byte is ever addressed as anything else.
template <class From, class Conversion>
void convert(const std::uint8_t* from, std::uint8_t* to, Conversion conversion)
{
    From value;
    std::memcpy(&value, from, sizeof(value));
    const auto result = conversion(value);
    std::memcpy(to, &result, sizeof(result));
}

void copySwapped(const std::uint8_t* from, std::uint8_t* to, std::size_t size)
{
    for (std::size_t i = 0; i < size; i += 2) {
        std::uint16_t word = 0;
        std::memcpy(&word, from + i, sizeof(word));
        u16swap(word);
        std::memcpy(to + i, &word, sizeof(word));
    }
}

enum class Direction { Unpack, Pack };

void moveField(FieldForm form, Direction direction, const std::uint8_t* from, std::uint8_t* to)
{
    const bool unpacks = direction == Direction::Unpack;
    switch (form) {
    case FieldForm::PdpD:
        unpacks ? convert<PdpD>(from, to, CnvPdpD2PcD) : convert<double>(from, to, cnvpcd);
        return;
    case FieldForm::PdpF:
        unpacks ? convert<PdpF>(from, to, CnvPdpF2PcF) : convert<float>(from, to, cnvpcs);
        return;
    case FieldForm::TovelD:
        unpacks ? convert<TovelD>(from, to, CnvTovelD2PcD) : convert<double>(from, to, CnvPcD2TovelE);
        return;
    case FieldForm::TovelF:
        unpacks ? convert<TovelF>(from, to, CnvTovelF2PcF) : convert<float>(from, to, CnvPcF2TovelF);
        return;
    case FieldForm::Text32:
        copySwapped(from, to, blockSizeOf(form));
        return;
    case FieldForm::U16:
    case FieldForm::Byte:
    case FieldForm::Block256:
        std::memcpy(to, from, blockSizeOf(form));
        return;
    }
}

bool fits(const FieldRow& row, std::size_t blockSize, std::size_t recordSize)
{
    return row.block + blockSizeOf(row.form) <= blockSize && row.record + recordSizeOf(row.form) <= recordSize;
}

void moveRows(std::span<const FieldRow> rows, Direction direction, std::span<const std::uint8_t> from,
              std::span<std::uint8_t> to)
{
    const bool unpacks = direction == Direction::Unpack;
    for (const FieldRow& row : rows)
        if (fits(row, unpacks ? from.size() : to.size(), unpacks ? to.size() : from.size()))
            moveField(row.form, direction, from.data() + (unpacks ? row.block : row.record),
                      to.data() + (unpacks ? row.record : row.block));
}

}  // namespace

void unpackRows(std::span<const FieldRow> rows, std::span<const std::uint8_t> block, std::span<std::uint8_t> record)
{
    moveRows(rows, Direction::Unpack, block, record);
}

void packRows(std::span<const FieldRow> rows, std::span<const std::uint8_t> record, std::span<std::uint8_t> block)
{
    moveRows(rows, Direction::Pack, record, block);
}
