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

void unpackField(FieldForm form, const std::uint8_t* from, std::uint8_t* to)
{
    switch (form) {
    case FieldForm::PdpD:
        convert<PdpD>(from, to, CnvPdpD2PcD);
        return;
    case FieldForm::PdpF:
        convert<PdpF>(from, to, CnvPdpF2PcF);
        return;
    case FieldForm::TovelD:
        convert<TovelD>(from, to, CnvTovelD2PcD);
        return;
    case FieldForm::TovelF:
        convert<TovelF>(from, to, CnvTovelF2PcF);
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

void packField(FieldForm form, const std::uint8_t* from, std::uint8_t* to)
{
    switch (form) {
    case FieldForm::PdpD:
        convert<double>(from, to, cnvpcd);
        return;
    case FieldForm::PdpF:
        convert<float>(from, to, cnvpcs);
        return;
    case FieldForm::TovelD:
        convert<double>(from, to, CnvPcD2TovelE);
        return;
    case FieldForm::TovelF:
        convert<float>(from, to, CnvPcF2TovelF);
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

}  // namespace

void unpackRows(std::span<const FieldRow> rows, std::span<const std::uint8_t> block, std::span<std::uint8_t> record)
{
    for (const FieldRow& row : rows)
        if (fits(row, block.size(), record.size()))
            unpackField(row.form, block.data() + row.block, record.data() + row.record);
}

void packRows(std::span<const FieldRow> rows, std::span<const std::uint8_t> record, std::span<std::uint8_t> block)
{
    for (const FieldRow& row : rows)
        if (fits(row, block.size(), record.size()))
            packField(row.form, record.data() + row.record, block.data() + row.block);
}
