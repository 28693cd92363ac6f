#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "ioss/FACE_IO_Parameter_Value_Type.h"

namespace {

using Value = FACE::IOSS::IO_PARAMETER_VALUE_TYPE;

/** One member: its three functions, in the order that sets, selects and copies. */
template <typename T>
void expectMember(std::uint32_t number, void (Value::*set)(T), T& (Value::*select)(),
                  void (Value::*copy)(T&, Value::RETURN_CODE&) const) {
    SCOPED_TRACE(number);
    constexpr T most = std::numeric_limits<T>::max();
    Value value;
    (value.*set)(most);
    T got{};
    Value::RETURN_CODE rc = Value::OTHER_DISCRIMINATOR;
    (value.*copy)(got, rc);
    EXPECT_EQ(value.descriminator(), number);
    EXPECT_EQ(rc, 0U);
    EXPECT_EQ(got, most);
    number == 4 ? value.octet_value(1) : value.ulong_value(0xFFFFFFFF);
    (value.*copy)(got, rc);
    EXPECT_EQ(rc, 1U);
    EXPECT_EQ(got, most) << "left alone";
    EXPECT_EQ((value.*select)(), T{}) << "from zero";
    EXPECT_EQ(value.descriminator(), number);
    (value.*select)() = most;
    EXPECT_EQ((value.*select)(), most) << "kept when selected again";
}

TEST(IoParameterValue, EachMemberIsSetSelectedAndCopiedByItsOwnType) {
#define EXPECT_MEMBER(number, type, name) \
    expectMember<type>(number, &Value::name, &Value::name, &Value::name)
    EXPECT_MEMBER(0, std::int16_t, short_value);
    EXPECT_MEMBER(1, std::int32_t, long_value);
    EXPECT_MEMBER(2, std::int64_t, longlong_value);
    EXPECT_MEMBER(3, std::uint16_t, ushort_value);
    EXPECT_MEMBER(4, std::uint32_t, ulong_value);
    EXPECT_MEMBER(5, std::uint64_t, ulonglong_value);
    EXPECT_MEMBER(6, float, float_value);
    EXPECT_MEMBER(7, double, double_value);
    EXPECT_MEMBER(8, long double, longdouble_value);
    EXPECT_MEMBER(9, signed char, char_value);
    EXPECT_MEMBER(10, bool, boolean_value);
    EXPECT_MEMBER(11, std::uint8_t, octet_value);
#undef EXPECT_MEMBER
    EXPECT_EQ(Value().descriminator(), 0U);
    EXPECT_EQ(Value().short_value(), 0);
}

}  // namespace
