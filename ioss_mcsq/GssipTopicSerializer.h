#ifndef IOSS_MCSQ_GSSIPTOPICSERIALIZER_H
#define IOSS_MCSQ_GSSIPTOPICSERIALIZER_H

#include "aspn2_msgs/GSSIPPubSubTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

/// `GSSIP` records to bytes and back, as they stand on a queue: 4 bytes that tell the byte order, then the record in
/// CDR. Any thread may call.
class GssipTopicSerializer {
public:
    using GSSIP = aspn2_msgs::idl::GSSIP;
    using Type = aspn2_msgs::idl::GSSIPPubSubType;

    /// Bytes of a record without those of its `data`.
    static constexpr std::uint32_t kOverhead = 56;

    /// @param type  not null
    explicit GssipTopicSerializer(std::unique_ptr<Type> type = std::make_unique<Type>()) : m_type(std::move(type)) {}

    static std::size_t GetSerializedSize(const GSSIP& record);

    /// Replaces `bytes`. False, and `bytes` as they were, for a record that the type refuses or of more than
    /// 32 bits can count. Throws `std::bad_alloc`.
    bool Serialize(const GSSIP& record, std::vector<std::uint8_t>& bytes);

    /// Reads the record that `bytes` begin with; what follows it is not looked at. False, with the record in any state,
    /// if they are too few or no record. The bytes are only read.
    bool Deserialize(const std::uint8_t* bytes, std::uint32_t length, GSSIP& record);

private:
    std::unique_ptr<Type> m_type;
};

#endif
