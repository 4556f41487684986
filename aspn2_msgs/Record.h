#ifndef ASPN2_MSGS_RECORD_H
#define ASPN2_MSGS_RECORD_H

#include "aspn2_msgs/Layout.h"

#include <cstddef>
#include <type_traits>
#include <utility>

namespace eprosima::fastcdr {
class Cdr;
}

/// How a record of the message catalogue is made. A record is its list of fields, in the order in which they travel:
///
///     #define ASPN2_FIELDS_Altitude(FIELD) FIELD(header, header) FIELD(altitude, float64) FIELD(variance, float64)
///     ASPN2_RECORD(Altitude, 64)
///
/// in namespace `aspn2_msgs::idl`, where 64 is the size of the largest value in bytes on the wire. The words for types
/// are those of `aspn2_msgs::idl::words`, the enumerations and the other records; `float64[9][9]` is a fixed array.
/// `ASPN2_RECORD_CODEC(Altitude)` in the record's source file (aspn2_msgs/RecordCodec.h) makes the rest of it.
///
/// A record is a value class: all numbers zero and all containers empty to begin with. A field `x` has
/// - a setter: `x(value)` for a number or an enumeration, else `x(const T&)` and `x(T&&)`;
/// - the getters `x() const` (a number or enumeration by value, else a reference) and `x()` (a reference to change it).
/// Records hold no lock: one thread at a time, or any number that only read.
///
/// A text or sequence may stand as the last field only: what is before it has a layout known at compile time.
///
/// A number may have a unit, which stands behind its type: `FIELD(Roll, float64, "rad")`; that of an array is its
/// elements'. It is for readers of the list and for tools (`ASPN2_FIELD_UNIT`), and nothing of it is in the record. The
/// catalogue itself fixes no units: one stands where the service takes or sends the value so, where `unit-sim`
/// of the unit sends it so, or where the field's name tells it. A field without one has none, or none that is known.
// clang-format off
// NOLINTBEGIN(bugprone-macro-parentheses): names and types take none
#define ASPN2_RECORD(Name, LargestSize)                                                                                \
    namespace fields {                                                                                                 \
    struct Name##Fields {                                                                                              \
        ASPN2_FIELDS_##Name(ASPN2_FIELD_TYPE)                                                                          \
        template <class Visitor>                                                                                       \
        static constexpr void eachType(Visitor& visit)                                                                 \
        {                                                                                                              \
            ASPN2_FIELDS_##Name(ASPN2_FIELD_VISIT_TYPE)                                                                \
        }                                                                                                              \
    };                                                                                                                 \
    }                                                                                                                  \
                                                                                                                       \
    class Name {                                                                                                       \
        friend struct layout::Access;                                                                                  \
        using FieldTypes = fields::Name##Fields;                                                                       \
                                                                                                                       \
    public:                                                                                                            \
        ASPN2_FIELDS_##Name(ASPN2_FIELD_ACCESSORS)                                                                     \
                                                                                                                       \
        /* Bytes on the wire, of the largest value and of `data`, from position `current_alignment` on. */             \
        static constexpr std::size_t getMaxCdrSerializedSize(std::size_t current_alignment = 0)                        \
        {                                                                                                              \
            return layout::largestEnd<Name>(current_alignment) - current_alignment;                                    \
        }                                                                                                              \
        static std::size_t getCdrSerializedSize(const Name& data, std::size_t current_alignment = 0);                  \
                                                                                                                       \
        /* These raise what `Cdr` raises if the buffer is too short or a value is none of its type. */                 \
        void serialize(eprosima::fastcdr::Cdr& scdr) const;                                                            \
        void deserialize(eprosima::fastcdr::Cdr& dcdr);                                                                \
                                                                                                                       \
        /* The same from position 0 on in the machine's own byte order, for bytes that are in order: answers the size, \
           or 0 if there is no room; and whether `bytes` were a record. Whatever is refused is up to the two above. */ \
        std::size_t store(char* bytes, std::size_t room) const;                                                        \
        bool load(const char* bytes, std::size_t size);                                                                \
                                                                                                                       \
        /* No record of the catalogue has a key. */                                                                    \
        static constexpr std::size_t getKeyMaxCdrSerializedSize(std::size_t current_alignment = 0)                     \
        {                                                                                                              \
            return current_alignment;                                                                                  \
        }                                                                                                              \
        static constexpr bool isKeyDefined() { return false; }                                                         \
        void serializeKey(eprosima::fastcdr::Cdr&) const {}                                                            \
                                                                                                                       \
    private:                                                                                                           \
        template <class Self, class Visitor>                                                                           \
        [[gnu::always_inline]] static constexpr void eachField(Self& self, Visitor& visit)                             \
        {                                                                                                              \
            ASPN2_FIELDS_##Name(ASPN2_FIELD_VISIT)                                                                     \
        }                                                                                                              \
                                                                                                                       \
        ASPN2_FIELDS_##Name(ASPN2_FIELD_MEMBER)                                                                        \
    };                                                                                                                 \
    static_assert(Name::getMaxCdrSerializedSize() == (LargestSize), "the largest size of " #Name " changed");          \
    static_assert(layout::kGrowsAtTheEndOnly<Name>, "a text or sequence must be the last field of " #Name)
// clang-format on

// The types have names of their own, made outside of the class: a field may be named like its type, as `header` is.
#define ASPN2_FIELD_TYPE(name, ...) using name##_type = words::Member<ASPN2_FIRST_OF(__VA_ARGS__, )>;
#define ASPN2_FIELD_VISIT_TYPE(name, ...) visit(std::type_identity<name##_type>{});
#define ASPN2_FIELD_VISIT(name, ...) visit(self.m_##name);
#define ASPN2_FIELD_MEMBER(name, ...) FieldTypes::name##_type m_##name{};
#define ASPN2_FIELD_ACCESSORS(name, ...)                                                                               \
    template <layout::Scalar T = FieldTypes::name##_type>                                                              \
    void name(std::type_identity_t<T> value)                                                                           \
    {                                                                                                                  \
        m_##name = value;                                                                                              \
    }                                                                                                                  \
    template <layout::Compound T = FieldTypes::name##_type>                                                            \
    void name(const std::type_identity_t<T>& value)                                                                    \
    {                                                                                                                  \
        m_##name = value;                                                                                              \
    }                                                                                                                  \
    template <layout::Compound T = FieldTypes::name##_type>                                                            \
    void name(std::type_identity_t<T>&& value)                                                                         \
    {                                                                                                                  \
        m_##name = std::move(value);                                                                                   \
    }                                                                                                                  \
    layout::Read<FieldTypes::name##_type> name() const                                                                 \
    {                                                                                                                  \
        return m_##name;                                                                                               \
    }                                                                                                                  \
    FieldTypes::name##_type& name()                                                                                    \
    {                                                                                                                  \
        return m_##name;                                                                                               \
    }

/// The text of a field's unit, empty if it has none, from what its row has behind the name.
#define ASPN2_FIELD_UNIT(...) ASPN2_SECOND_OF(__VA_ARGS__, "", )

#define ASPN2_FIRST_OF(first, ...) first
#define ASPN2_SECOND_OF(first, second, ...) second
// NOLINTEND(bugprone-macro-parentheses)

#endif
