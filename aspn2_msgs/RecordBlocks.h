#ifndef ASPN2_MSGS_RECORDBLOCKS_H
#define ASPN2_MSGS_RECORDBLOCKS_H

#include "aspn2_msgs/Layout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

/// Records in and out of bytes in the machine's own order, from position 0 on. Every number stands where `layout` says,
/// so one look at the room serves for all of a fixed layout, and neighbours move as one.
///
/// This road is for what is in order. Whatever isn't is refused as a whole, and the way through `Cdr` decides about it.
/// Padding is skipped and keeps the bytes that the buffer held, as it does there.
namespace aspn2_msgs::idl::blocks {

using layout::Access;
using layout::Record;

/// Moves as one run of bytes: no padding within, and none in front once the position is aligned.
template <class T>
inline constexpr bool kOneRun = layout::kSameInMemory<T>&& layout::kFrontSize<T> == layout::kAlignment<T>;

/// Puts the numbers of a fixed layout to their positions; `origin` is the place of position 0. A text or sequence is
/// left out.
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

/// Takes the fixed layout of `value`. False, and `value` is as it was, if a boolean in it is none.
template <class T>
[[gnu::always_inline]] inline bool loadFixed(const char* origin, std::size_t position, T& value)
{
    if constexpr (layout::kHasBoolean<T>) {
        auto check = CheckBooleans{origin, position};
        check(std::type_identity<T>{});
        if (!check.good) return false;
    }
    auto load = Load{origin, position};
    load(value);
    return true;
}

/// Where the elements of a sequence stand whose count begins at `Position`. The first one's place within the alignment
/// may differ from that of the others, which is the same for all of them.
template <std::size_t Position, class Element>
struct Elements {
    static constexpr std::size_t kBegin = layout::afterCount(Position);
    static constexpr std::size_t kFirst = kBegin % layout::kAlignment<Element>;
    static constexpr std::size_t kFirstSize = layout::fixedSize<Element>(kFirst);
    static constexpr std::size_t kNext = (kFirst + kFirstSize) % layout::kAlignment<Element>;
    static constexpr std::size_t kNextSize = layout::fixedSize<Element>(kNext);
    static_assert(kNextSize % layout::kAlignment<Element> == 0, "the third element stands yet differently");
    static constexpr bool kOneBlock = kOneRun<Element> && kFirst == 0;

    /// The end of `count` elements; 64 bits, for a count that nobody has looked at yet.
    static constexpr std::uint64_t end(std::uint32_t count)
    {
        return count == 0 ? kBegin : kBegin + kFirstSize + std::uint64_t{count - 1} * kNextSize;
    }
};

/// The last field of a record, a text or sequence whose count begins at `Position`: the end of it, or 0 if it does not
/// fit.
template <std::size_t Position>
std::size_t storeTail(char* bytes, std::size_t room, const std::string& text)
{
    constexpr std::size_t kBegin = layout::afterCount(Position);
    const std::size_t length = std::strlen(text.c_str()) + 1;  // cut at a zero, as Cdr cuts it
    if (room < kBegin || room - kBegin < length) return 0;
    const auto count = static_cast<std::uint32_t>(length);
    std::memcpy(bytes + kBegin - sizeof count, &count, sizeof count);
    std::memcpy(bytes + kBegin, text.c_str(), length);
    return kBegin + length;
}

template <std::size_t Position, class Element>
std::size_t storeTail(char* bytes, std::size_t room, const std::vector<Element>& elements)
{
    using At = Elements<Position, Element>;
    if (std::uint64_t{elements.size()} > std::numeric_limits<std::uint32_t>::max()) return 0;
    const auto count = static_cast<std::uint32_t>(elements.size());
    const std::uint64_t end = At::end(count);
    if (room < end) return 0;
    std::memcpy(bytes + At::kBegin - sizeof count, &count, sizeof count);
    if (elements.empty()) return At::kBegin;
    char* next = bytes + At::kBegin;
    if constexpr (At::kOneBlock) {
        std::memcpy(next, elements.data(), elements.size() * sizeof(Element));
    } else {
        auto store = Store{next - At::kFirst, At::kFirst};
        store(elements.front());
        next += At::kFirstSize;
        for (std::size_t i = 1; i < elements.size(); ++i, next += At::kNextSize) {
            store = Store{next - At::kNext, At::kNext};
            store(elements[i]);
        }
    }
    return static_cast<std::size_t>(end);
}

template <std::size_t Position>
bool loadTail(const char* bytes, std::size_t size, std::string& text)
{
    constexpr std::size_t kBegin = layout::afterCount(Position);
    if (size < kBegin) return false;
    std::uint32_t length = 0;
    std::memcpy(&length, bytes + kBegin - sizeof length, sizeof length);
    if (length == 0 || size - kBegin < length || bytes[kBegin + length - 1] != '\0') return false;
    text.assign(bytes + kBegin, length - 1);
    return true;
}

template <std::size_t Position, class Element>
bool loadTail(const char* bytes, std::size_t size, std::vector<Element>& elements)
{
    using At = Elements<Position, Element>;
    if (size < At::kBegin) return false;
    std::uint32_t count = 0;
    std::memcpy(&count, bytes + At::kBegin - sizeof count, sizeof count);
    if (size < At::end(count)) return false;
    elements.resize(count);
    if (count == 0) return true;
    const char* next = bytes + At::kBegin;
    if constexpr (At::kOneBlock && !layout::kHasBoolean<Element>) {
        std::memcpy(elements.data(), next, count * sizeof(Element));
        return true;
    } else {
        bool good = loadFixed(next - At::kFirst, At::kFirst, elements.front());
        next += At::kFirstSize;
        for (std::size_t i = 1; i < count; ++i, next += At::kNextSize)
            good = loadFixed(next - At::kNext, At::kNext, elements[i]) && good;
        return good;
    }
}

/// Writes `record`. Answers its size, or 0 if it does not fit; some of it may have been written then.
template <Record R>
std::size_t store(char* bytes, std::size_t room, const R& record)
{
    constexpr std::size_t kFixedPart = layout::fixedSize<R>(0);
    if (room < kFixedPart) return 0;
    auto storeFixed = Store{bytes, 0};
    storeFixed(record);
    std::size_t end = kFixedPart;
    auto tail = [&]<class Field>(const Field& field) {
        if constexpr (!layout::kFixed<Field>) end = storeTail<kFixedPart>(bytes, room, field);
    };
    Access::eachField(record, tail);
    return end;
}

/// Reads `record`. False if the bytes are not in order; some of it may have been read then.
template <Record R>
bool load(const char* bytes, std::size_t size, R& record)
{
    constexpr std::size_t kFixedPart = layout::fixedSize<R>(0);
    if (size < kFixedPart || !loadFixed(bytes, 0, record)) return false;
    bool good = true;
    auto tail = [&]<class Field>(Field& field) {
        if constexpr (!layout::kFixed<Field>) good = loadTail<kFixedPart>(bytes, size, field);
    };
    Access::eachField(record, tail);
    return good;
}

}  // namespace aspn2_msgs::idl::blocks

#endif
