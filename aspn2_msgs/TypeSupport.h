#ifndef ASPN2_MSGS_TYPESUPPORT_H
#define ASPN2_MSGS_TYPESUPPORT_H

#include "aspn2_msgs/Layout.h"

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <fastrtps/utils/md5.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <new>
#include <vector>

namespace eprosima::fastcdr {
class Cdr;
}

namespace aspn2_msgs::idl {

/// What the type supports of all records have in common: payloads, in and out, and keys. Any thread may call: DDS does
/// so from several. No exception leaves a payload's way in or out.
class RecordTypeSupport : public eprosima::fastdds::dds::TopicDataType {
public:
    using SerializedPayload_t = eprosima::fastrtps::rtps::SerializedPayload_t;
    using InstanceHandle_t = eprosima::fastrtps::rtps::InstanceHandle_t;

    /// Writes the record at `data` in the machine's byte order, behind 4 bytes that say so, and sets the payload's
    /// encapsulation and length. False if the record outgrows `payload->max_size`.
    bool serialize(void* data, SerializedPayload_t* payload) override;

    /// Reads a payload of either byte order into the record at `data` and sets the payload's encapsulation. False, with
    /// the record in any state, for bytes that are no such record; no more memory is taken than they account for.
    bool deserialize(SerializedPayload_t* payload, void* data) override;

    /// The key of the record at `data`: in big-endian order, or its MD5 sum if that is forced or the longest key does
    /// not fit into a handle. False for a type without a key.
    bool getKey(void* data, InstanceHandle_t* handle, bool force_md5 = false) override;

protected:
    /// Bytes in front of every record, which say in what order it is written.
    static constexpr std::size_t kEncapsulation = SerializedPayload_t::representation_header_size;

    RecordTypeSupport(const char* name, std::size_t largestSize, bool keyed, std::size_t largestKey);

    virtual void writeRecord(const void* data, eprosima::fastcdr::Cdr& cdr) const = 0;
    virtual void readRecord(void* data, eprosima::fastcdr::Cdr& cdr) const = 0;
    virtual std::size_t storeRecord(const void* data, char* bytes, std::size_t room) const = 0;
    virtual bool loadRecord(void* data, const char* bytes, std::size_t size) const = 0;
    virtual void writeKey(const void* data, eprosima::fastcdr::Cdr& cdr) const = 0;

    std::vector<unsigned char> m_keyBuffer;  // 16 bytes at least; guarded, as m_md5 is, by m_keyMutex
    MD5 m_md5;

private:
    const std::size_t m_largestKey;
    std::mutex m_keyMutex;  // a leaf
};

/// The type support of one record, by its own operations. Only records of numbers alone, without even an enumeration,
/// are bounded, plain, and made in place.
template <class Record>
class TypeSupport : public RecordTypeSupport {
public:
    using type = Record;

    /// The size of the record at `data` as a payload. `data` must live when the function is called.
    std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override
    {
        return [data] {
            return static_cast<std::uint32_t>(Record::getCdrSerializedSize(*static_cast<const Record*>(data)) +
                                              kEncapsulation);
        };
    }

    /// Whoever gets the record gives it back to `deleteData`.
    void* createData() override { return new Record(); }
    void deleteData(void* data) override { delete static_cast<Record*>(data); }

    bool is_bounded() const override { return layout::kPlain<Record>; }
    bool is_plain() const override { return layout::kPlain<Record>; }
    bool construct_sample(void* memory) const override
    {
        if constexpr (layout::kPlain<Record>) new (memory) Record();
        return layout::kPlain<Record>;
    }

protected:
    explicit TypeSupport(const char* name)
        : RecordTypeSupport(name, Record::getMaxCdrSerializedSize() + kEncapsulation, Record::isKeyDefined(),
                            Record::getKeyMaxCdrSerializedSize())
    {}

private:
    void writeRecord(const void* data, eprosima::fastcdr::Cdr& cdr) const override
    {
        static_cast<const Record*>(data)->serialize(cdr);
    }
    void readRecord(void* data, eprosima::fastcdr::Cdr& cdr) const override
    {
        static_cast<Record*>(data)->deserialize(cdr);
    }
    std::size_t storeRecord(const void* data, char* bytes, std::size_t room) const override
    {
        return static_cast<const Record*>(data)->store(bytes, room);
    }
    bool loadRecord(void* data, const char* bytes, std::size_t size) const override
    {
        return static_cast<Record*>(data)->load(bytes, size);
    }
    void writeKey(const void* data, eprosima::fastcdr::Cdr& cdr) const override
    {
        static_cast<const Record*>(data)->serializeKey(cdr);
    }
};

}  // namespace aspn2_msgs::idl

#endif
