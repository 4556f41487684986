#ifndef ASPN2_MSGS_RECORDCODEC_H
#define ASPN2_MSGS_RECORDCODEC_H

#include "aspn2_msgs/Layout.h"

#include <fastcdr/Cdr.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
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
    static_assert(true)

/// How records pass through `eprosima::fastcdr::Cdr`. There are two roads with one outcome:
///
/// - *field by field*, each through `Cdr`: any byte order, and whatever goes wrong goes wrong here;
/// - *as blocks*, in the machine's own byte order: the numbers of a fixed layout stand where `layout` says, so one check
///   of the room serves them all. A block that does not fit, or holds a boolean that is none, is left alone and the
///   first road taken, so that bytes, exceptions and the state of `Cdr` after them do not depend on the road.
///
/// Padding is skipped and keeps the bytes that the buffer held.
namespace aspn2_msgs::idl::codec {

using eprosima::fastcdr::Cdr;
using layout::Access;
using layout::Record;
using layout::Scalar;

inline bool inOwnByteOrder(const Cdr& cdr)
{
    return cdr.endianness() ==
           (std::endian::native == std::endian::little ? Cdr::LITTLE_ENDIANNESS : Cdr::BIG_ENDIANNESS);
}

/// Moves as one run of bytes: no padding within, and none in front once the position is aligned.
template <class T>
inline constexpr bool kOneRun = layout::kSameInMemory<T>&& layout::kFrontSize<T> == layout::kAlignment<T>;

/// Puts the numbers of a fixed layout to their positions; `origin` is the place of position 0.
struct Store {
    char* origin;
    std::size_t position;

    template <class T>
    [[gnu::always_inline]] void operator()(const T& value)
    {
        if constexpr (kOneRun<T>) {
            position = layout::alignUp(position, layout::kAlignment<T>);
            std::memcpy(origin + position, &value, sizeof value);
            position += sizeof value;
        } else if constexpr (layout::kIsArray<T>) {
            for (const auto& element : value) (*this)(element);
        } else if constexpr (Record<T>) {
            Access::eachField(value, *this);
        }
    }
};

/// The way back. The booleans must have been looked at.
struct Load {
    const char* origin;
    std::size_t position;

    template <class T>
    [[gnu::always_inline]] void operator()(T& value)
    {
        if constexpr (kOneRun<T>) {
            position = layout::alignUp(position, layout::kAlignment<T>);
            std::memcpy(&value, origin + position, sizeof value);
            position += sizeof value;
        } else if constexpr (layout::kIsArray<T>) {
            for (auto& element : value) (*this)(element);
        } else if constexpr (Record<T>) {
            Access::eachField(value, *this);
        }
    }
};

/// Looks whether every byte that stands for a boolean is 0 or 1.
struct CheckBooleans {
    const char* origin;
    std::size_t position;
    bool good = true;

    template <class T>
    [[gnu::always_inline]] void operator()(std::type_identity<T>)
    {
        if constexpr (Record<T> && layout::kHasBoolean<T>) {
            Access::eachType<T>(*this);
        } else if constexpr (layout::kFixed<T>) {
            static_assert(!(layout::kIsArray<T> && layout::kHasBoolean<T>), "a walk over such an array is missing");
            if constexpr (std::is_same_v<T, bool>) good = good && static_cast<unsigned char>(origin[position]) <= 1;
            position = layout::fixedEnd<T>(position);
        }
    }
};

/// Takes the numbers of `value` from `origin`. False, and `value` is as it was, if a boolean there is none.
template <class T>
bool load(const char* origin, std::size_t position, T& value)
{
    if constexpr (layout::kHasBoolean<T>) {
        auto check = CheckBooleans{origin, position};
        check(std::type_identity<T>{});
        if (!check.good) return false;
    }
    auto take = Load{origin, position};
    take(value);
    return true;
}

/// Leaves room for `size` bytes and has them filled by `fill(char*)`. False, and nothing is changed, if there is none.
template <class Fill>
bool writeBlock(Cdr& cdr, std::size_t size, Fill fill)
{
    Cdr::state before = cdr.getState();
    if (!cdr.jump(size)) return false;
    char* const block = cdr.getCurrentPosition() - size;
    fill(block);
    // Cdr leaves out the alignment of a number that is no wider than the last one, and a jump doesn't count as one.
    // After a single byte it aligns whatever comes next.
    cdr.setState(before);
    cdr.jump(size - 1);
    cdr << block[size - 1];
    return true;
}

/// Reads `size` bytes. False, and nothing is changed, if there are fewer.
inline bool readBlock(Cdr& cdr, char* block, std::size_t size)
{
    try {
        cdr.deserializeArray(block, size);
        return true;
    } catch (const eprosima::fastcdr::exception::NotEnoughMemoryException&) {
        return false;
    }
}

// --- field by field ---

template <class T>
void writeField(Cdr& cdr, const T& field)
{
    if constexpr (std::is_enum_v<T>)
        cdr << static_cast<std::uint32_t>(field);
    else
        cdr << field;
}

/// Elements are made as they are read, a hundred and then as many again as there are, so that a count that is not borne
/// out by bytes costs little. `readSome(first, last)` reads a range of new elements.
template <class Element, class ReadSome>
void readElements(Cdr& cdr, std::vector<Element>& elements, ReadSome readSome)
{
    Cdr::state before = cdr.getState();
    std::uint32_t count = 0;
    cdr >> count;
    try {
        if (count == 0) elements.clear();
        for (std::size_t done = 0; done < count;) {
            const std::size_t more = std::min<std::size_t>(count - done, std::max(done, words::kLongestSequence));
            elements.resize(done + more);
            readSome(elements.data() + done, elements.data() + done + more);
            done += more;
        }
    } catch (const eprosima::fastcdr::exception::Exception&) {
        cdr.setState(before);
        throw;
    }
}

template <class T>
void readField(Cdr& cdr, T& field)
{
    if constexpr (std::is_enum_v<T>) {
        std::uint32_t number = 0;
        cdr >> number;
        field = static_cast<T>(number);
    } else if constexpr (layout::kIsRecordSequence<T>) {
        using Element = typename T::value_type;
        readElements(cdr, field, [&cdr](Element* first, Element* last) {
            for (; first != last; ++first) first->deserialize(cdr);
        });
    } else {
        // Cdr refuses a count of more elements than there are bytes: that serves for bytes.
        if constexpr (layout::kIsSequence<T>) static_assert(sizeof(typename T::value_type) == 1);
        cdr >> field;
    }
}

// --- as blocks ---

/// Where the elements of a sequence begin, modulo their alignment: the first one, behind a count that begins at
/// `Position`, and those after it.
template <std::size_t Position, class Element>
struct Places {
    static constexpr std::size_t kAlignment = layout::kAlignment<Element>;
    static constexpr std::size_t kFirst = layout::afterCount(Position) % kAlignment;
    static constexpr std::size_t kNext = layout::fixedEnd<Element>(kFirst) % kAlignment;
    static constexpr bool kSettled = layout::fixedEnd<Element>(kNext) % kAlignment == kNext;
};

template <std::size_t Position, class Element>
void writeSequence(Cdr& cdr, const std::vector<Element>& elements)
{
    using At = Places<Position, Element>;
    Cdr::state before = cdr.getState();
    cdr << static_cast<std::uint32_t>(elements.size());
    if (elements.empty()) return;
    const std::size_t size = layout::elementsEnd<Element>(At::kFirst, elements.size()) - At::kFirst;
    const bool written = writeBlock(cdr, size, [&elements](char* block) {
        if constexpr (kOneRun<Element> && At::kFirst == 0) {
            std::memcpy(block, elements.data(), elements.size() * sizeof(Element));
        } else {
            auto store = Store{block - At::kFirst, At::kFirst};
            store(elements.front());
            char* next = block + layout::kFixedSizes<Element>[At::kFirst];
            for (std::size_t i = 1; i < elements.size(); ++i) {
                store = Store{next - At::kNext, At::kNext};
                store(elements[i]);
                next += layout::kFixedSizes<Element>[At::kNext];
            }
        }
    });
    if (written) return;
    cdr.setState(before);
    cdr << elements;
}

template <std::size_t Position, class Element>
void readElement(Cdr& cdr, Element& element)
{
    constexpr std::size_t kSize = layout::kFixedSizes<Element>[Position];
    char bytes[Position + kSize];
    Cdr::state before = cdr.getState();
    if (readBlock(cdr, bytes + Position, kSize) && load(bytes, Position, element)) return;
    cdr.setState(before);
    element.deserialize(cdr);
}

template <std::size_t Position, class Element>
void readSequence(Cdr& cdr, std::vector<Element>& elements)
{
    using At = Places<Position, Element>;
    readElements(cdr, elements, [&cdr, &elements](Element* first, Element* last) {
        if constexpr (kOneRun<Element> && At::kFirst == 0 && !layout::kHasBoolean<Element>) {
            const auto size = static_cast<std::size_t>(last - first) * sizeof(Element);
            if (readBlock(cdr, reinterpret_cast<char*>(first), size)) return;
            for (; first != last; ++first) first->deserialize(cdr);
        } else {
            if (first == elements.data()) readElement<At::kFirst>(cdr, *first++);
            for (; first != last; ++first) readElement<At::kNext>(cdr, *first);
        }
    });
}

/// The number at the front of a record, read or written through `Cdr`, aligns the record: so it must be the widest.
template <Record R>
using Front = std::conditional_t<layout::kFrontSize<R> == 8, std::uint64_t, std::uint32_t>;

template <Record R>
inline constexpr std::size_t kFixedPart = layout::kFixedSizes<R>[0];

/// The road as blocks is open to a record that begins with its widest number, and whose sequence has elements that are
/// no wider and settle after the first.
template <Record R>
inline constexpr bool kAsBlocks = [] {
    bool open = sizeof(Front<R>) == layout::kFrontSize<R> && layout::kFrontSize<R> == layout::kAlignment<R>;
    auto look = [&open]<class Field>(std::type_identity<Field>) {
        if constexpr (layout::kIsRecordSequence<Field>) {
            using At = Places<kFixedPart<R>, typename Field::value_type>;
            open = open && At::kSettled && At::kAlignment <= layout::kAlignment<R>;
        }
    };
    Access::eachType<R>(look);
    return open;
}();

template <Record R>
bool writeFixedPart(Cdr& cdr, const R& record)
{
    Cdr::state before = cdr.getState();
    cdr << Front<R>{};  // its bytes come with the block
    const bool written = writeBlock(cdr, kFixedPart<R> - sizeof(Front<R>), [&record](char* block) {
        auto store = Store{block - sizeof(Front<R>), 0};
        store(record);
    });
    if (!written) cdr.setState(before);
    return written;
}

template <Record R>
bool readFixedPart(Cdr& cdr, R& record)
{
    char bytes[kFixedPart<R>];
    Cdr::state before = cdr.getState();
    Front<R> front;
    cdr >> front;
    std::memcpy(bytes, &front, sizeof front);
    const bool read = readBlock(cdr, bytes + sizeof front, kFixedPart<R> - sizeof front) && load(bytes, 0, record);
    if (!read) cdr.setState(before);
    return read;
}

template <Record R>
void write(Cdr& cdr, const R& record)
{
    if constexpr (kAsBlocks<R>) {
        if (inOwnByteOrder(cdr) && writeFixedPart(cdr, record)) {
            auto writeTail = [&cdr]<class Field>(const Field& field) {
                if constexpr (layout::kIsRecordSequence<Field>)
                    writeSequence<kFixedPart<R>>(cdr, field);
                else if constexpr (!layout::kFixed<Field>)
                    cdr << field;
            };
            Access::eachField(record, writeTail);
            return;
        }
    }
    auto each = [&cdr](const auto& field) { writeField(cdr, field); };
    Access::eachField(record, each);
}

template <Record R>
void read(Cdr& cdr, R& record)
{
    if constexpr (kAsBlocks<R>) {
        if (inOwnByteOrder(cdr) && readFixedPart(cdr, record)) {
            auto readTail = [&cdr]<class Field>(Field& field) {
                if constexpr (layout::kIsRecordSequence<Field>)
                    readSequence<kFixedPart<R>>(cdr, field);
                else if constexpr (!layout::kFixed<Field>)
                    readField(cdr, field);
            };
            Access::eachField(record, readTail);
            return;
        }
    }
    auto each = [&cdr](auto& field) { readField(cdr, field); };
    Access::eachField(record, each);
}

}  // namespace aspn2_msgs::idl::codec

#endif
