#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "ioss/FACE_IO_Parameter_Value_Type.h"

namespace {

using FACE::IOSS::IO_PARAMETER_VALUE_TYPE;

#define EXPECT_MEMBER(number, name, type)                                                       \
    do {                                                                                        \
        SCOPED_TRACE(#name);                                                                    \
        const type most = std::numeric_limits<type>::max();                                     \
        IO_PARAMETER_VALUE_TYPE set;                                                            \
        set.name(most);                                                                         \
        type got = 0;                                                                           \
        IO_PARAMETER_VALUE_TYPE::RETURN_CODE rc = IO_PARAMETER_VALUE_TYPE::OTHER_DISCRIMINATOR; \
        set.name(got, rc);                                                                      \
        EXPECT_EQ(set.descriminator(), number##U);                                              \
        EXPECT_EQ(rc, 0U);                                                                      \
        EXPECT_EQ(got, most);                                                                   \
        IO_PARAMETER_VALUE_TYPE other;                                                          \
        number == 4 ? other.octet_value(1) : other.ulong_value(0xFFFFFFFF);                     \
        other.name(got, rc);                                                                    \
        EXPECT_EQ(rc, 1U);                                                                      \
        EXPECT_EQ(got, most) << "left alone";                                                   \
        EXPECT_EQ(other.name(), static_cast<type>(0)) << "selected from zero";                  \
        EXPECT_EQ(other.descriminator(), number##U);                                            \
        other.name() = most;                                                                    \
        EXPECT_EQ(other.name(), most) << "kept when selected again";                            \
    } while (false)

TEST(IoParameterValue, EachMemberIsSetSelectedAndCopiedByItsOwnType) {
    EXPECT_MEMBER(0, short_value, std::int16_t);
    EXPECT_MEMBER(1, long_value, std::int32_t);
    EXPECT_MEMBER(2, longlong_value, std::int64_t);
    EXPECT_MEMBER(3, ushort_value, std::uint16_t);
    EXPECT_MEMBER(4, ulong_value, std::uint32_t);
    EXPECT_MEMBER(5, ulonglong_value, std::uint64_t);
    EXPECT_MEMBER(6, float_value, float);
    EXPECT_MEMBER(7, double_value, double);
    EXPECT_MEMBER(8, longdouble_value, long double);
    EXPECT_MEMBER(9, char_value, signed char);
    EXPECT_MEMBER(10, boolean_value, bool);
    EXPECT_MEMBER(11, octet_value, std::uint8_t);
}

TEST(IoParameterValue, BeginsAsShortZero) {
    IO_PARAMETER_VALUE_TYPE value;
    EXPECT_EQ(value.descriminator(), 0U);
    EXPECT_EQ(value.short_value(), 0);
}

}  // namespace
