#ifndef FACE_FACE_IO_PARAMETER_VALUE_TYPE_H
#define FACE_FACE_IO_PARAMETER_VALUE_TYPE_H

#include "face/FACE_Common.h"

#include <cstdint>

namespace FACE::IOSS {

/// The value of a device parameter: one store for each kind, all zero at first, and a discriminator that says which one
/// counts. The stores do not overlap, so a value asked for under the wrong kind is refused, never reinterpreted.
///
/// Of each kind there are three accessors: the first stores a value, the second gives the store to write into, and both
/// select the kind; the third copies the value to `out` with `NO_ERROR` if the kind is selected, and leaves `out` alone
/// with `NO_ACTION` if not.
class IO_PARAMETER_VALUE_TYPE {
public:
    enum Discriminator : std::int32_t {
        SHORT_VALUE = 0,
        LONG_VALUE = 1,
        LONGLONG_VALUE = 2,
        USHORT_VALUE = 3,
        ULONG_VALUE = 4,
        ULONGLONG_VALUE = 5,
        FLOAT_VALUE = 6,
        DOUBLE_VALUE = 7,
        LONGDOUBLE_VALUE = 8,
        CHAR_VALUE = 9,
        BOOLEAN_VALUE = 10,
        OCTET_VALUE = 11
    };

    /// The selected kind. The spelling is the interface's.
    Discriminator descriminator() const { return m_discriminator; }

    void short_value(std::int16_t value) { short_value() = value; }
    std::int16_t& short_value();
    void short_value(std::int16_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void long_value(std::int32_t value) { long_value() = value; }
    std::int32_t& long_value();
    void long_value(std::int32_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void longlong_value(std::int64_t value) { longlong_value() = value; }
    std::int64_t& longlong_value();
    void longlong_value(std::int64_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void ushort_value(std::uint16_t value) { ushort_value() = value; }
    std::uint16_t& ushort_value();
    void ushort_value(std::uint16_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void ulong_value(std::uint32_t value) { ulong_value() = value; }
    std::uint32_t& ulong_value();
    void ulong_value(std::uint32_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void ulonglong_value(std::uint64_t value) { ulonglong_value() = value; }
    std::uint64_t& ulonglong_value();
    void ulonglong_value(std::uint64_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void float_value(float value) { float_value() = value; }
    float& float_value();
    void float_value(float& out, RETURN_CODE_TYPE::Value& return_code) const;

    void double_value(double value) { double_value() = value; }
    double& double_value();
    void double_value(double& out, RETURN_CODE_TYPE::Value& return_code) const;

    void longdouble_value(long double value) { longdouble_value() = value; }
    long double& longdouble_value();
    void longdouble_value(long double& out, RETURN_CODE_TYPE::Value& return_code) const;

    void char_value(std::int8_t value) { char_value() = value; }
    std::int8_t& char_value();
    void char_value(std::int8_t& out, RETURN_CODE_TYPE::Value& return_code) const;

    void boolean_value(bool value) { boolean_value() = value; }
    bool& boolean_value();
    void boolean_value(bool& out, RETURN_CODE_TYPE::Value& return_code) const;

    void octet_value(std::uint8_t value) { octet_value() = value; }
    std::uint8_t& octet_value();
    void octet_value(std::uint8_t& out, RETURN_CODE_TYPE::Value& return_code) const;

private:
    template <class T>
    T& select(Discriminator kind, T& store);
    template <class T>
    void copy(Discriminator kind, const T& store, T& out, RETURN_CODE_TYPE::Value& return_code) const;

    Discriminator m_discriminator = SHORT_VALUE;
    std::int16_t m_short = 0;
    std::int32_t m_long = 0;
    std::int64_t m_longlong = 0;
    std::uint16_t m_ushort = 0;
    std::uint32_t m_ulong = 0;
    std::uint64_t m_ulonglong = 0;
    float m_float = 0;
    double m_double = 0;
    long double m_longdouble = 0;
    std::int8_t m_char = 0;
    bool m_boolean = false;
    std::uint8_t m_octet = 0;
};

}  // namespace FACE::IOSS

#endif
