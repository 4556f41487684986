#ifndef ASPN2_MSGS_RECORDCODEC_H
#define ASPN2_MSGS_RECORDCODEC_H

#include "aspn2_msgs/Layout.h"
#include "aspn2_msgs/RecordBlocks.h"

#include <fastcdr/Cdr.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

/// The sizes and codecs of `Name`, once for the program: `ASPN2_RECORD_CODEC(Altitude)` in its source file.
#define ASPN2_RECORD_CODEC(Name)                                                                                       \
    std::size_t Name::getCdrSerializedSize(const Name& data, std::size_t current_alignment)                            \
    {                                                                                                                  \
        return layout::endOf(data, current_alignment) - current_alignment;                                             \
    }                                                                                                                  \
    void Name::serialize(eprosima::fastcdr::Cdr& scdr) const                                                           \
    {                                                                                                                  \
        codec::write(scdr, *this);                                                                                     \
    }                                                                                                                  \
    void Name::deserialize(eprosima::fastcdr::Cdr& dcdr)                                                               \
    {                                                                                                                  \
        codec::read(dcdr, *this);                                                                                      \
    }                                                                                                                  \
    std::size_t Name::store(char* bytes, std::size_t room) const                                                       \
    {                                                                                                                  \
        return blocks::store(bytes, room, *this);                                                                      \
    }                                                                                                                  \
    bool Name::load(const char* bytes, std::size_t size)                                                               \
    {                                                                                                                  \
        return blocks::load(bytes, size, *this);                                                                       \
    }                                                                                                                  \
    static_assert(true)

/// How records pass through `eprosima::fastcdr::Cdr`: field by field, in their order, in any byte order.
namespace aspn2_msgs::idl::codec {

using eprosima::fastcdr::Cdr;

template <layout::Record R>
void write(Cdr& cdr, const R& record)
{
    auto writeField = [&cdr]<class Field>(const Field& field) {
        if constexpr (std::is_enum_v<Field>)
            cdr << static_cast<std::uint32_t>(field);
        else
            cdr << field;
    };
    layout::Access::eachField(record, writeField);
}

/// Elements are made as they are read, a hundred and then as many again as there are, so that a count that is not borne
/// out by bytes costs little.
template <layout::Record Element>
void readElements(Cdr& cdr, std::vector<Element>& elements)
{
    Cdr::state before = cdr.getState();
    std::uint32_t count = 0;
    cdr >> count;
    try {
        if (count == 0) elements.clear();
        for (std::size_t done = 0; done < count;) {
            const std::size_t more = std::min<std::size_t>(count - done, std::max(done, words::kLongestSequence));
            elements.resize(done + more);
            for (const std::size_t end = done + more; done < end; ++done) cdr >> elements[done];
        }
    } catch (const eprosima::fastcdr::exception::Exception&) {
        cdr.setState(before);
        throw;
    }
}

template <layout::Record R>
void read(Cdr& cdr, R& record)
{
    auto readField = [&cdr]<class Field>(Field& field) {
        if constexpr (std::is_enum_v<Field>) {
            std::uint32_t number = 0;
            cdr >> number;
            field = static_cast<Field>(number);
        } else if constexpr (layout::kIsRecordSequence<Field>) {
            readElements(cdr, field);
        } else {
            // Cdr refuses a count of more elements than there are bytes: that serves for bytes.
            if constexpr (layout::kIsSequence<Field>) static_assert(sizeof(typename Field::value_type) == 1);
            cdr >> field;
        }
    };
    layout::Access::eachField(record, readField);
}

}  // namespace aspn2_msgs::idl::codec

#endif
