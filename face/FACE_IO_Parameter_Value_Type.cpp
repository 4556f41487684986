#include "face/FACE_IO_Parameter_Value_Type.h"

namespace FACE::IOSS {

template <class T>
T& IO_PARAMETER_VALUE_TYPE::select(Discriminator kind, T& store)
{
    m_discriminator = kind;
    return store;
}

template <class T>
void IO_PARAMETER_VALUE_TYPE::copy(Discriminator kind, const T& store, T& out,
                                   RETURN_CODE_TYPE::Value& return_code) const
{
    if (m_discriminator != kind) {
        return_code = RETURN_CODE_TYPE::NO_ACTION;
        return;
    }
    out = store;
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

std::int16_t& IO_PARAMETER_VALUE_TYPE::short_value()
{
    return select(SHORT_VALUE, m_short);
}

void IO_PARAMETER_VALUE_TYPE::short_value(std::int16_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(SHORT_VALUE, m_short, out, return_code);
}

std::int32_t& IO_PARAMETER_VALUE_TYPE::long_value()
{
    return select(LONG_VALUE, m_long);
}

void IO_PARAMETER_VALUE_TYPE::long_value(std::int32_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(LONG_VALUE, m_long, out, return_code);
}

std::int64_t& IO_PARAMETER_VALUE_TYPE::longlong_value()
{
    return select(LONGLONG_VALUE, m_longlong);
}

void IO_PARAMETER_VALUE_TYPE::longlong_value(std::int64_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(LONGLONG_VALUE, m_longlong, out, return_code);
}

std::uint16_t& IO_PARAMETER_VALUE_TYPE::ushort_value()
{
    return select(USHORT_VALUE, m_ushort);
}

void IO_PARAMETER_VALUE_TYPE::ushort_value(std::uint16_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(USHORT_VALUE, m_ushort, out, return_code);
}

std::uint32_t& IO_PARAMETER_VALUE_TYPE::ulong_value()
{
    return select(ULONG_VALUE, m_ulong);
}

void IO_PARAMETER_VALUE_TYPE::ulong_value(std::uint32_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(ULONG_VALUE, m_ulong, out, return_code);
}

std::uint64_t& IO_PARAMETER_VALUE_TYPE::ulonglong_value()
{
    return select(ULONGLONG_VALUE, m_ulonglong);
}

void IO_PARAMETER_VALUE_TYPE::ulonglong_value(std::uint64_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(ULONGLONG_VALUE, m_ulonglong, out, return_code);
}

float& IO_PARAMETER_VALUE_TYPE::float_value()
{
    return select(FLOAT_VALUE, m_float);
}

void IO_PARAMETER_VALUE_TYPE::float_value(float& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(FLOAT_VALUE, m_float, out, return_code);
}

double& IO_PARAMETER_VALUE_TYPE::double_value()
{
    return select(DOUBLE_VALUE, m_double);
}

void IO_PARAMETER_VALUE_TYPE::double_value(double& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(DOUBLE_VALUE, m_double, out, return_code);
}

long double& IO_PARAMETER_VALUE_TYPE::longdouble_value()
{
    return select(LONGDOUBLE_VALUE, m_longdouble);
}

void IO_PARAMETER_VALUE_TYPE::longdouble_value(long double& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(LONGDOUBLE_VALUE, m_longdouble, out, return_code);
}

std::int8_t& IO_PARAMETER_VALUE_TYPE::char_value()
{
    return select(CHAR_VALUE, m_char);
}

void IO_PARAMETER_VALUE_TYPE::char_value(std::int8_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(CHAR_VALUE, m_char, out, return_code);
}

bool& IO_PARAMETER_VALUE_TYPE::boolean_value()
{
    return select(BOOLEAN_VALUE, m_boolean);
}

void IO_PARAMETER_VALUE_TYPE::boolean_value(bool& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(BOOLEAN_VALUE, m_boolean, out, return_code);
}

std::uint8_t& IO_PARAMETER_VALUE_TYPE::octet_value()
{
    return select(OCTET_VALUE, m_octet);
}

void IO_PARAMETER_VALUE_TYPE::octet_value(std::uint8_t& out, RETURN_CODE_TYPE::Value& return_code) const
{
    copy(OCTET_VALUE, m_octet, out, return_code);
}

}  // namespace FACE::IOSS
