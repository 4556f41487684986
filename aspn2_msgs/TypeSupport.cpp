#include "aspn2_msgs/TypeSupport.h"

#include <fastcdr/Cdr.h>

#include <algorithm>
#include <bit>
#include <exception>

namespace aspn2_msgs::idl {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

namespace {

constexpr std::size_t kHandleSize = 16;

constexpr std::uint16_t kOwnEncapsulation = std::endian::native == std::endian::little ? CDR_LE : CDR_BE;
constexpr char kOwnHeader[] = {0, kOwnEncapsulation, 0, 0};  // the last two are options, of which there are none

std::uint16_t encapsulationOf(const Cdr& cdr)
{
    return cdr.endianness() == Cdr::BIG_ENDIANNESS ? CDR_BE : CDR_LE;
}

}  // namespace

RecordTypeSupport::RecordTypeSupport(const char* name, std::size_t largestSize, bool keyed, std::size_t largestKey)
    : m_keyBuffer(std::max(kHandleSize, largestKey)), m_largestKey(largestKey)
{
    setName(name);
    m_typeSize = static_cast<std::uint32_t>(largestSize);
    m_isGetKeyDefined = keyed;
}

bool RecordTypeSupport::serialize(void* data, SerializedPayload_t* payload)
{
    auto* const bytes = reinterpret_cast<char*>(payload->data);
    if (payload->max_size > kEncapsulation) {
        const std::size_t size = storeRecord(data, bytes + kEncapsulation, payload->max_size - kEncapsulation);
        if (size > 0) {
            std::copy_n(kOwnHeader, kEncapsulation, bytes);
            payload->encapsulation = kOwnEncapsulation;
            payload->length = static_cast<std::uint32_t>(size + kEncapsulation);
            return true;
        }
    }
    try {
        FastBuffer buffer(bytes, payload->max_size);
        Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
        payload->encapsulation = encapsulationOf(cdr);
        cdr.serialize_encapsulation();
        writeRecord(data, cdr);
        payload->length = static_cast<std::uint32_t>(cdr.getSerializedDataLength());
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool RecordTypeSupport::deserialize(SerializedPayload_t* payload, void* data)
{
    // What is raised here would end the process: the caller is a receive thread of DDS. Besides the end of the bytes
    // that is a boolean or an encapsulation that is none, and memory that there isn't.
    try {
        auto* const bytes = reinterpret_cast<char*>(payload->data);
        if (payload->length > kEncapsulation && std::equal(kOwnHeader, kOwnHeader + 2, bytes) &&
            loadRecord(data, bytes + kEncapsulation, payload->length - kEncapsulation)) {
            payload->encapsulation = kOwnEncapsulation;
            return true;
        }
        FastBuffer buffer(bytes, payload->length);
        Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
        cdr.read_encapsulation();
        payload->encapsulation = encapsulationOf(cdr);
        readRecord(data, cdr);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool RecordTypeSupport::getKey(void* data, InstanceHandle_t* handle, bool force_md5)
{
    if (!m_isGetKeyDefined) return false;
    const std::lock_guard lock(m_keyMutex);
    FastBuffer buffer(reinterpret_cast<char*>(m_keyBuffer.data()), m_largestKey);
    Cdr cdr(buffer, Cdr::BIG_ENDIANNESS);
    writeKey(data, cdr);
    if (force_md5 || m_largestKey > kHandleSize) {
        m_md5.init();
        m_md5.update(m_keyBuffer.data(), static_cast<MD5::size_type>(cdr.getSerializedDataLength()));
        m_md5.finalize();
        std::copy_n(m_md5.digest, kHandleSize, &handle->value[0]);
    } else {
        std::copy_n(m_keyBuffer.data(), kHandleSize, &handle->value[0]);
    }
    return true;
}

}  // namespace aspn2_msgs::idl
