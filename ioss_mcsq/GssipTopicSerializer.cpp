#include "ioss_mcsq/GssipTopicSerializer.h"

#include <limits>

namespace {

using eprosima::fastrtps::rtps::SerializedPayload_t;

/// A payload over bytes of somebody else's. A payload frees what it holds, so this one lets go of them first.
class BorrowedPayload {
public:
    BorrowedPayload(const std::uint8_t* bytes, std::uint32_t length)
    {
        m_payload.data = const_cast<std::uint8_t*>(bytes);
        m_payload.length = length;
        m_payload.max_size = length;
    }
    ~BorrowedPayload() { m_payload.data = nullptr; }
    BorrowedPayload(const BorrowedPayload&) = delete;
    BorrowedPayload& operator=(const BorrowedPayload&) = delete;

    SerializedPayload_t* get() { return &m_payload; }

private:
    SerializedPayload_t m_payload;
};

}  // namespace

std::size_t GssipTopicSerializer::GetSerializedSize(const GSSIP& record)
{
    return GSSIP::getCdrSerializedSize(record) + SerializedPayload_t::representation_header_size;
}

bool GssipTopicSerializer::Serialize(const GSSIP& record, std::vector<std::uint8_t>& bytes)
{
    const std::uint64_t size = GetSerializedSize(record);
    if (size > std::numeric_limits<std::uint32_t>::max()) return false;
    SerializedPayload_t payload(static_cast<std::uint32_t>(size));
    if (!m_type->serialize(const_cast<GSSIP*>(&record), &payload)) return false;
    bytes.assign(payload.data, payload.data + payload.length);
    return true;
}

bool GssipTopicSerializer::Deserialize(const std::uint8_t* bytes, std::uint32_t length, GSSIP& record)
{
    if (!bytes) return false;
    BorrowedPayload payload(bytes, length);
    return m_type->deserialize(payload.get(), &record);
}
