#include "face/FACE_IO_Parameter_Value_Type.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::IO_PARAMETER_VALUE_TYPE;

/// Goes through the three accessors of one kind.
template <class T>
void checkKind(std::int32_t kind, T value, void (IO_PARAMETER_VALUE_TYPE::*store)(T),
               T& (IO_PARAMETER_VALUE_TYPE::*select)(),
               void (IO_PARAMETER_VALUE_TYPE::*copy)(T&, RETURN_CODE_TYPE::Value&) const)
{
    IO_PARAMETER_VALUE_TYPE parameter;
    EXPECT_EQ((parameter.*select)(), T{}) << "kind " << kind;
    EXPECT_EQ(parameter.descriminator(), kind);

    IO_PARAMETER_VALUE_TYPE stored;
    (stored.*store)(value);
    EXPECT_EQ(stored.descriminator(), kind);
    T out{};
    auto code = RETURN_CODE_TYPE::IN_PROGRESS;
    (stored.*copy)(out, code);
    EXPECT_EQ(out, value) << "kind " << kind;
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);

    if (kind == 11) return;
    stored.octet_value(1);
    out = T{};
    (stored.*copy)(out, code);
    EXPECT_EQ(out, T{}) << "kind " << kind;
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ACTION);
}

using V = IO_PARAMETER_VALUE_TYPE;

TEST(ParameterValueTest, NewValueIsAShortOfZero)
{
    V value;
    EXPECT_EQ(value.descriminator(), 0);
    std::int16_t out = 7;
    auto code = RETURN_CODE_TYPE::IN_PROGRESS;
    value.short_value(out, code);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);
}

TEST(ParameterValueTest, EachKindHasItsNumberAndItsStore)
{
    checkKind<std::int16_t>(0, -32768, &V::short_value, &V::short_value, &V::short_value);
    checkKind<std::int32_t>(1, std::numeric_limits<std::int32_t>::min(), &V::long_value, &V::long_value,
                            &V::long_value);
    checkKind<std::int64_t>(2, std::numeric_limits<std::int64_t>::min(), &V::longlong_value, &V::longlong_value,
                            &V::longlong_value);
    checkKind<std::uint16_t>(3, 65535, &V::ushort_value, &V::ushort_value, &V::ushort_value);
    checkKind<std::uint32_t>(4, 0xFFFFFFFF, &V::ulong_value, &V::ulong_value, &V::ulong_value);
    checkKind<std::uint64_t>(5, 0xFFFFFFFFFFFFFFFF, &V::ulonglong_value, &V::ulonglong_value, &V::ulonglong_value);
    checkKind<float>(6, 1.5F, &V::float_value, &V::float_value, &V::float_value);
    checkKind<double>(7, 0.1, &V::double_value, &V::double_value, &V::double_value);
    checkKind<long double>(8, 0.1L, &V::longdouble_value, &V::longdouble_value, &V::longdouble_value);
    checkKind<std::int8_t>(9, -128, &V::char_value, &V::char_value, &V::char_value);
    checkKind<bool>(10, true, &V::boolean_value, &V::boolean_value, &V::boolean_value);
    checkKind<std::uint8_t>(11, 255, &V::octet_value, &V::octet_value, &V::octet_value);
}

TEST(ParameterValueTest, StoresLieSideBySide)
{
    V value;
    value.ulong_value(0x12345678);
    value.longlong_value(-1);
    EXPECT_EQ(value.ulong_value(), 0x12345678U);
}

TEST(ParameterValueTest, ReferenceWritesIntoTheSelectedStore)
{
    V value;
    value.ushort_value() = 16;
    std::uint16_t out = 0;
    auto code = RETURN_CODE_TYPE::IN_PROGRESS;
    value.ushort_value(out, code);
    EXPECT_EQ(out, 16);
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);
}

TEST(ParameterValueTest, WrongKindLeavesTheTargetAlone)
{
    V value;
    value.ulong_value(5);
    std::int32_t out = 77;
    auto code = RETURN_CODE_TYPE::IN_PROGRESS;
    value.long_value(out, code);
    EXPECT_EQ(out, 77);
    EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ACTION);
}

}  // namespace
