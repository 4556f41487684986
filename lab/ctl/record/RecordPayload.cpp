#include "lab/ctl/record/RecordPayload.h"

#include "lab/ctl/FieldTexts.h"

#include <fastcdr/Cdr.h>

#include <algorithm>
#include <exception>
#include <iterator>

namespace orvanectl {

namespace {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

constexpr std::size_t kEncapsulation = 4;

template <class Record>
std::vector<std::uint8_t> write(const void* data)
{
    const Record& record = *static_cast<const Record*>(data);
    std::vector<std::uint8_t> bytes(kEncapsulation + Record::getCdrSerializedSize(record));
    FastBuffer buffer(reinterpret_cast<char*>(bytes.data()), bytes.size());
    Cdr cdr(buffer, Cdr::LITTLE_ENDIANNESS, Cdr::DDS_CDR);
    cdr.serialize_encapsulation();
    record.serialize(cdr);
    bytes.resize(cdr.getSerializedDataLength());
    return bytes;
}

template <class Record>
bool read(std::vector<char>& bytes, void* data)
{
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    cdr.read_encapsulation();
    static_cast<Record*>(data)->deserialize(cdr);
    return true;
}

struct Codec {
    std::string_view name;
    std::vector<std::uint8_t> (*write)(const void* data);
    bool (*read)(std::vector<char>& bytes, void* data);
};

#define ORVANECTL_CODEC(Name) {#Name, write<Name>, read<Name>},
constexpr Codec kCodecs[] = {ORVANECTL_TOPIC_TYPES(ORVANECTL_CODEC)};
static_assert(std::size(kCodecs) == 32);

const Codec& codecOf(const RecordType& type)
{
    return *std::ranges::find(kCodecs, type.name, &Codec::name);
}

}  // namespace

std::vector<std::uint8_t> payloadOf(const RecordType& type, const void* record)
{
    return codecOf(type).write(record);
}

bool readPayload(const RecordType& type, std::span<const std::uint8_t> payload, void* record)
{
    try {
        std::vector<char> bytes(payload.begin(), payload.end());  // the library wants to be able to write
        return codecOf(type).read(bytes, record);
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace orvanectl
