#include "ioss_mcsq/ZentorM_8504_Msg.h"

#include "ioss_mcsq/FieldRows.h"
#include "utilities/cvt.h"

#include <array>
#include <cstring>

namespace {

using Record = unpacked_msg8504_t;
using enum FieldForm;

constexpr FieldRow kRows[] = {
    {0, PdpD, offsetof(Record, field000)},     {8, PdpD, offsetof(Record, field008)},
    {16, TovelD, offsetof(Record, field016)},  {22, TovelD, offsetof(Record, field022)},
    {28, PdpD, offsetof(Record, field028)},    {36, PdpD, offsetof(Record, field036)},
    {44, PdpD, offsetof(Record, field044)},    {52, PdpF, offsetof(Record, field052)},
    {56, PdpF, offsetof(Record, field056)},    {60, PdpF, offsetof(Record, field060)},
    {64, PdpF, offsetof(Record, field064)},    {68, PdpF, offsetof(Record, field068)},
    {84, PdpF, offsetof(Record, angle084)},    {88, U16, offsetof(Record, word088)},
    {90, U16, offsetof(Record, word090)},      {92, U16, offsetof(Record, word092)},
    {94, U16, offsetof(Record, word094)},      {96, Byte, offsetof(Record, status096)},
    {97, Byte, offsetof(Record, status097)},   {98, U16, offsetof(Record, word098)},
    {100, Byte, offsetof(Record, byte100)},    {101, Byte, offsetof(Record, status101)},
    {102, Byte, offsetof(Record, nibbles102)}, {103, Byte, offsetof(Record, nibbles103)},
    {104, Byte, offsetof(Record, nibbles104)}, {105, Byte, offsetof(Record, nibbles105)},
    {110, U16, offsetof(Record, word110)},     {112, U16, offsetof(Record, word112)},
    {114, U16, offsetof(Record, word114)},     {116, Byte, offsetof(Record, byte116)},
    {117, Byte, offsetof(Record, status117)},  {118, Byte, offsetof(Record, status118)},
    {119, Byte, offsetof(Record, byte119)},    {120, Byte, offsetof(Record, status120)},
    {121, Byte, offsetof(Record, byte121)},    {122, TovelF, offsetof(Record, field122)},
    {126, TovelF, offsetof(Record, field126)}, {130, Byte, offsetof(Record, byte130)},
    {131, Byte, offsetof(Record, byte131)},    {144, Block256, offsetof(Record, block144)},
};
constexpr std::size_t kReservedBytes = 12 + 4 + 12;
static_assert(rowsFit(kRows, 400, sizeof(Record)));
static_assert(bytesInBlock(kRows) == 400 - kReservedBytes);

std::span<std::uint8_t, sizeof(Record)> bytesOf(Record& record)
{
    return std::span<std::uint8_t, sizeof(Record)>(reinterpret_cast<std::uint8_t*>(&record), sizeof(Record));
}

std::span<const std::uint8_t, sizeof(Record)> bytesOf(const Record& record)
{
    return std::span<const std::uint8_t, sizeof(Record)>(reinterpret_cast<const std::uint8_t*>(&record),
                                                         sizeof(Record));
}

}  // namespace

ZentorM_8504_Msg::ZentorM_8504_Msg() : m_packed{}, m_unpacked{}
{
    attachFrame(m_packed.words, 200, 8504, kGssipFlagsReport);
}

void ZentorM_8504_Msg::debugPrintMessage() {}

bool ZentorM_8504_Msg::ok_set_8504_gpsip(const std::uint8_t* bytes, std::uint32_t length)
{
    return setContent(bytes, length);
}

void ZentorM_8504_Msg::unpack_8504(const packed_msg8504_t& packed, unpacked_msg8504_t& unpacked)
{
    unpackRows(kRows, packed.data(), bytesOf(unpacked));
    ::PdpD field000;
    std::memcpy(field000.data(), packed.data().data(), sizeof(field000));
    double whole = 0.0;
    unpacked.fractionPart = PdpD_modf(field000, whole);
    unpacked.wholePart = whole;
}

void ZentorM_8504_Msg::pack_8504(const unpacked_msg8504_t& unpacked, packed_msg8504_t& packed)
{
    packRows(kRows, bytesOf(unpacked), packed.data());
}

void ZentorM_8504_Msg::copy_all(const ZentorM_8504_Msg& other)
{
    m_packed = other.m_packed;
    m_unpacked = other.m_unpacked;
}

bool ZentorM_8504_Msg::recieverFailureDetected() const
{
    return bitsOf(m_packed.data()[msg8504::kStatus096Offset], msg8504::kStatus096ReceiverFailure) != 0;
}
