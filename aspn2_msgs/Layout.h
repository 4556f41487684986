#ifndef ASPN2_MSGS_LAYOUT_H
#define ASPN2_MSGS_LAYOUT_H

#include "aspn2_msgs/Words.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

/// Where the fields of a record stand on the wire (DDS CDR, version 1), worked out at compile time. A *position* is
/// counted in bytes from the place from which alignment counts: a number stands at a multiple of its own size.
namespace aspn2_msgs::idl::layout {

static_assert(sizeof(bool) == 1 && sizeof(float) == 4 && sizeof(double) == 8);
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

/// A field that is one number on the wire. Enumerations travel as 32 bits.
template <class T>
concept Scalar = std::is_arithmetic_v<T> ||(std::is_enum_v<T> && sizeof(T) == 4);

template <class T>
concept Compound = !Scalar<T>;

/// What a constant getter answers.
template <class T>
using Read = std::conditional_t<Scalar<T>, T, const T&>;

template <class T>
inline constexpr bool kIsArray = false;
template <class T, std::size_t Count>
inline constexpr bool kIsArray<std::array<T, Count>> = true;

template <class T>
inline constexpr bool kIsText = std::is_same_v<T, std::string>;

template <class T>
inline constexpr bool kIsSequence = false;
template <class T>
inline constexpr bool kIsSequence<std::vector<T>> = true;

template <class T>
concept Record = Compound<T> && !kIsArray<T> && !kIsText<T> && !kIsSequence<T>;

template <class T>
inline constexpr bool kIsRecordSequence = false;
template <Record R>
inline constexpr bool kIsRecordSequence<std::vector<R>> = true;

/// The way into a record's private list of fields.
struct Access {
    template <Record R, class Visitor>
    static constexpr void eachType(Visitor& visit)
    {
        R::FieldTypes::eachType(visit);
    }
    template <class R, class Visitor>
    [[gnu::always_inline]] static constexpr void eachField(R& record, Visitor& visit)
    {
        std::remove_const_t<R>::eachField(record, visit);
    }
};

/// Looks at every type within `T`, itself first, its arrays' elements and fields as deep as they go; not into the
/// elements of a sequence.
template <class T, class Visitor>
constexpr void eachTypeWithin(Visitor& visit)
{
    visit(std::type_identity<T>{});
    if constexpr (kIsArray<T>) {
        eachTypeWithin<typename T::value_type>(visit);
    } else if constexpr (Record<T>) {
        auto deeper = [&visit]<class Field>(std::type_identity<Field>) { eachTypeWithin<Field>(visit); };
        Access::eachType<T>(deeper);
    }
}

/// No text and no sequence within: all values have one layout.
template <class T>
inline constexpr bool kFixed = [] {
    bool fixed = true;
    auto look = [&fixed]<class U>(std::type_identity<U>) { fixed = fixed && !kIsText<U> && !kIsSequence<U>; };
    eachTypeWithin<T>(look);
    return fixed;
}();

/// Numbers alone within: no text, sequence, or enumeration.
template <class T>
inline constexpr bool kPlain = [] {
    bool plain = kFixed<T>;
    auto look = [&plain]<class U>(std::type_identity<U>) { plain = plain && !std::is_enum_v<U>; };
    eachTypeWithin<T>(look);
    return plain;
}();

template <class T>
inline constexpr bool kHasBoolean = [] {
    bool found = false;
    auto look = [&found]<class U>(std::type_identity<U>) { found = found || std::is_same_v<U, bool>; };
    eachTypeWithin<T>(look);
    return found;
}();

/// The widest number of the fixed layout of `T`, in bytes.
template <class T>
inline constexpr std::size_t kAlignment = [] {
    std::size_t widest = 1;
    auto look = [&widest]<class U>(std::type_identity<U>) {
        if constexpr (Scalar<U>) widest = sizeof(U) > widest ? sizeof(U) : widest;
    };
    eachTypeWithin<T>(look);
    return widest;
}();

/// Bytes of the number at the front of `T`.
template <class T>
inline constexpr std::size_t kFrontSize = [] {
    std::size_t first = 0;
    auto look = [&first]<class U>(std::type_identity<U>) {
        if constexpr (Scalar<U>) first = first == 0 ? sizeof(U) : first;
    };
    eachTypeWithin<T>(look);
    return first;
}();

constexpr std::size_t alignUp(std::size_t position, std::size_t alignment)
{
    return (position + alignment - 1) & ~(alignment - 1);
}

/// The length or count word in front of a text or sequence.
constexpr std::size_t afterCount(std::size_t position)
{
    return alignUp(position, 4) + 4;
}

/// The end of the largest `T` that begins at `position`; without its last field if that is a text or sequence and is
/// not wanted.
template <class T, bool WithTail = true>
constexpr std::size_t largestEnd(std::size_t position)
{
    if constexpr (Scalar<T>) {
        return alignUp(position, sizeof(T)) + sizeof(T);
    } else if constexpr (kIsArray<T>) {
        for (std::size_t i = 0; i < std::tuple_size_v<T>; ++i) position = largestEnd<typename T::value_type>(position);
        return position;
    } else if constexpr (Record<T>) {
        auto step = [&position]<class Field>(std::type_identity<Field>) {
            if constexpr (WithTail || kFixed<Field>) position = largestEnd<Field>(position);
        };
        Access::eachType<T>(step);
        return position;
    } else if constexpr (kIsText<T>) {
        return afterCount(position) + words::kLongestText + 1;
    } else {
        position = afterCount(position);
        for (std::size_t i = 0; i < words::kLongestSequence; ++i)
            position = largestEnd<typename T::value_type>(position);
        return position;
    }
}

using FixedSizes = std::array<std::size_t, 8>;

template <class T>
consteval FixedSizes fixedSizes()
{
    FixedSizes sizes{};
    for (std::size_t position = 0; position < sizes.size(); ++position)
        sizes[position] = largestEnd<T, false>(position) - position;
    return sizes;
}

template <class T>
struct FixedLayout {
    static constexpr FixedSizes kSizes = fixedSizes<T>();
};

/// Bytes that the fixed layout of `T` takes if it begins at `position`, its leading padding included.
template <class T>
constexpr std::size_t fixedSize(std::size_t position)
{
    return FixedLayout<T>::kSizes[position % 8];
}

template <class T>
constexpr std::size_t fixedEnd(std::size_t position)
{
    return position + fixedSize<T>(position);
}

/// The end of `count` elements in a row. The size of an element depends on where within the alignment it begins, so it
/// stays as it is as soon as an element ends where it began.
template <class Element>
constexpr std::size_t elementsEnd(std::size_t position, std::size_t count)
{
    for (; count > 0; --count) {
        const std::size_t size = fixedSize<Element>(position);
        if (size % kAlignment<Element> == 0) return position + size * count;
        position += size;
    }
    return position;
}

/// The end of `value` if it begins at `position`.
template <class T>
constexpr std::size_t endOf(const T& value, std::size_t position)
{
    if constexpr (kIsText<T>) {
        return afterCount(position) + value.size() + 1;
    } else if constexpr (kIsSequence<T>) {
        return elementsEnd<typename T::value_type>(afterCount(position), value.size());
    } else {
        position = fixedEnd<T>(position);
        if constexpr (!kFixed<T>) {
            auto addTail = [&position](const auto& field) {
                if constexpr (!kFixed<std::remove_cvref_t<decltype(field)>>) position = endOf(field, position);
            };
            Access::eachField(value, addTail);
        }
        return position;
    }
}

/// Every field but the last has a fixed layout, and so do the elements of the last if it is a sequence.
template <Record R>
inline constexpr bool kGrowsAtTheEndOnly = [] {
    bool grown = false;
    bool good = true;
    auto look = [&grown, &good]<class Field>(std::type_identity<Field>) {
        good = good && !grown;
        grown = grown || !kFixed<Field>;
        if constexpr (kIsSequence<Field>)
            good = good && kFixed<typename Field::value_type>;
        else
            good = good && (kFixed<Field> || kIsText<Field>);
    };
    Access::eachType<R>(look);
    return good;
}();

/// Bytes of the numbers within `T`, without any padding.
template <class T>
constexpr std::size_t bytesOfNumbers()
{
    if constexpr (Scalar<T>) {
        return sizeof(T);
    } else if constexpr (kIsArray<T>) {
        return std::tuple_size_v<T> * bytesOfNumbers<typename T::value_type>();
    } else if constexpr (!Record<T>) {
        return 0;
    } else {
        std::size_t bytes = 0;
        auto add = [&bytes]<class Field>(std::type_identity<Field>) { bytes += bytesOfNumbers<Field>(); };
        Access::eachType<T>(add);
        return bytes;
    }
}

/// The object in memory is, byte for byte, what travels: no padding here or there.
template <class T>
inline constexpr bool kSameInMemory = [] {
    return std::is_trivially_copyable_v<T> && bytesOfNumbers<T>() == sizeof(T) && fixedSize<T>(0) == sizeof(T);
}();

}  // namespace aspn2_msgs::idl::layout

#endif
