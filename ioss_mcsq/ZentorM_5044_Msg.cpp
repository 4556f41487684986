#include "ioss_mcsq/ZentorM_5044_Msg.h"

#include "ioss_mcsq/FieldRows.h"

#include <cstring>

namespace {

using Record = unpacked_msg5044_t;
using enum FieldForm;

constexpr FieldRow kRows[] = {
    {0, PdpD, offsetof(Record, field000)},
    {8, U16, offsetof(Record, warningNumber)},
    {10, Text32, offsetof(Record, warningText)},
};
static_assert(rowsFit(kRows, 42, sizeof(Record)));
static_assert(bytesInBlock(kRows) == 42);

}  // namespace

std::string_view warningTextOf(const unpacked_msg5044_t& record)
{
    const std::string_view field(record.warningText, sizeof(record.warningText));
    return field.substr(0, field.find('\0'));
}

ZentorM_5044_Msg::ZentorM_5044_Msg() : m_packed{}, m_unpacked{}
{
    attachFrame(m_packed.words, 21, 5044, kGssipFlagsReport);
}

void ZentorM_5044_Msg::debugPrintMessage() {}

bool ZentorM_5044_Msg::ok_set_5044_gpsip(const std::uint8_t* bytes, std::uint32_t length)
{
    return setContent(bytes, length);
}

void ZentorM_5044_Msg::unpack_5044(const packed_msg5044_t& packed, unpacked_msg5044_t& unpacked)
{
    unpackRows(kRows, packed.data(), std::span(reinterpret_cast<std::uint8_t*>(&unpacked), sizeof(unpacked)));
    std::memset(unpacked.textEnd, 0, sizeof(unpacked.textEnd));
}

void ZentorM_5044_Msg::pack_5044(const unpacked_msg5044_t& /*unpacked*/, packed_msg5044_t& /*packed*/) {}
