#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include "receiver/ReceiverFixture.h"
#include "receiver/cvt.h"

using receiver_test::Bytes;
using receiver_test::bytesOf;
using receiver_test::Words;
using receiver_test::wordsOf;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int kRandomCases = 100000;

/** `value` cut to the 53 bits of a double. */
double cutToDouble(long double value) {
    int exponent = 0;
    const long double digits = std::ldexp(std::frexp(value, &exponent), 53);
    return std::ldexp(static_cast<double>(std::trunc(digits)), exponent - 53);
}

/** A number by its fields, worked out in floating point: (-1)^S * 0.1F * 2^(E - 128). */
long double valueOf(bool negative, int exponent, std::uint64_t fraction, int fractionBits) {
    const std::uint64_t significand = fraction | std::uint64_t{1} << fractionBits;
    const auto scale = exponent - 128 - fractionBits - 1;
    const long double magnitude = std::ldexp(static_cast<long double>(significand), scale);
    return negative ? -magnitude : magnitude;
}

/** F of a PDP number of `count` words. */
std::uint64_t fractionOf(const Words& words, std::size_t count) {
    std::uint64_t fraction = words[0] % 128;
    for (std::size_t i = 1; i < count; ++i) {
        fraction = fraction * 65536 + words[i];
    }
    return fraction;
}

template <std::size_t kWords, typename Number>
Words encoded(void (*encode)(Number const*, unsigned short*), Number value) {
    Words words(kWords + 1, 0xBEEF);
    encode(&value, words.data());
    EXPECT_EQ(words.back(), 0xBEEF);
    words.pop_back();
    return words;
}

Words pdpDouble(double value) {
    return encoded<4>(cnvpcd, value);
}
Words pdpFloat(float value) {
    return encoded<2>(cnvpcs, value);
}
Words capsDouble(double value) {
    return encoded<3>(CnvPcD2CapsE, value);
}
Words capsFloat(float value) {
    return encoded<2>(CnvPcF2CapsF, value);
}

/** Random numbers by a seed that a failure shows. */
class RandomNumbers : public testing::Test {
protected:
    std::uint64_t draw() { return m_random(); }

private:
    const unsigned m_seed = std::random_device{}();
    const testing::ScopedTrace m_trace{__FILE__, __LINE__, "seed " + std::to_string(m_seed)};
    std::mt19937_64 m_random{m_seed};
};

}  // namespace

TEST(NumberFormats, EndsOfTheRange) {
    EXPECT_EQ(CnvPdpD2PcD(Words{0, 0, 0, 0}.data()), 0.0);
    double whole = -1.0;
    EXPECT_EQ(PdpD_modf(Words{0, 0, 0, 0}.data(), &whole), 0.0);
    EXPECT_EQ(whole, 0.0);
    EXPECT_EQ(CnvPdpD2PcD(Words{0, 0, 0, 1}.data()), 0x1p-129);
    EXPECT_EQ(CnvPdpD2PcD(Words{0x8000, 0, 0, 0}.data()), -0x1p-129);
    EXPECT_EQ(CnvPdpF2PcF(Words{0x0100, 0}.data()), 0.0F);
    EXPECT_EQ(CnvPdpF2PcF(Words{0x817F, 0xFFFF}.data()), 0.0F);
    EXPECT_EQ(CnvPdpF2PcF(Words{0x0180, 0}.data()), std::numeric_limits<float>::min());

    const Words most{0x7FFF, 0xFFFF, 0xFFFF, 0xFFFF};
    const Words least{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    for (const double large : {1e300, 0x1p127, kInf, std::nan("")}) {
        EXPECT_EQ(pdpDouble(large), most) << large;
        EXPECT_EQ(pdpDouble(std::copysign(large, -1.0)), least) << large;
    }
    EXPECT_EQ(pdpDouble(0x1p126), (Words{0x7F80, 0, 0, 0}));
    EXPECT_EQ(pdpDouble(0x1p-128), (Words{0x0080, 0, 0, 0}));
    for (const double tiny : {0.0, 1e-300, -1e-300, 0x1p-129, -5e-324}) {
        EXPECT_EQ(pdpDouble(tiny), Words(4)) << tiny;
    }
    EXPECT_EQ(pdpFloat(std::numeric_limits<float>::max()), (Words{0x7FFF, 0xFFFF}));
    EXPECT_EQ(pdpFloat(-std::numeric_limits<float>::infinity()), (Words{0xFFFF, 0xFFFF}));
    EXPECT_EQ(pdpFloat(0x1p126F), (Words{0x7F80, 0}));
    EXPECT_EQ(pdpFloat(0x1p-125F), (Words{0x0200, 0}));
    EXPECT_EQ(pdpFloat(-0x1p-126F), Words(2));
    EXPECT_EQ(capsDouble(1e300), (Words{0xFFFF, 0xFFFF, 0x7FFF}));
    EXPECT_EQ(capsFloat(-1e30F * 1e30F), (Words{0xFFFF, 0xFFFF}));
    EXPECT_EQ(CnvCapsD2PcD(capsDouble(0x1.00000000008p0).data()), 1.0);
}

TEST_F(RandomNumbers, FromTheReceiverAgreeWithTheirFields) {
    for (int i = 0; i < kRandomCases; ++i) {
        const std::uint64_t bits = draw();
        const Bytes bytes = bytesOf(bits);
        const Words words = wordsOf(bytes.data(), bytes.size());
        const bool negative = words[0] >= 0x8000;
        const int exponent = words[0] / 128 % 256;
        ASSERT_EQ(CnvPdpD2PcD(words.data()),
                  cutToDouble(valueOf(negative, exponent, fractionOf(words, 4), 55)));
        ASSERT_EQ(CnvPdpF2PcF(words.data()),
                  exponent < 3 ? 0.0 : valueOf(negative, exponent, fractionOf(words, 2), 23));
        std::uint64_t fraction = bytes[5] % 128;
        for (int k = 4; k > 0; --k) {
            fraction = fraction * 256 + bytes[static_cast<unsigned>(k)];
        }
        ASSERT_EQ(CnvCapsD2PcD(words.data()), valueOf(bytes[5] > 127, bytes[0], fraction, 39));
        fraction = (bytes[3] % 128U) * 65536U + bytes[2] * 256U + bytes[1];
        ASSERT_EQ(CnvCapsF2PcF(words.data()),
                  bytes[0] < 3 ? 0.0 : valueOf(bytes[3] > 127, bytes[0], fraction, 23));
    }
}

TEST_F(RandomNumbers, SurviveTheWayThereAndBack) {
    for (int i = 0; i < kRandomCases; ++i) {
        const std::uint64_t bits = draw();
        const double magnitude = std::ldexp(1.0 + std::ldexp(static_cast<double>(bits >> 12), -52),
                                            static_cast<int>(bits % 255) - 128);
        const double value = bits & 0x100 ? -magnitude : magnitude;
        ASSERT_EQ(CnvPdpD2PcD(pdpDouble(value).data()), value);

        const auto single = static_cast<float>(value);
        if (std::abs(single) >= 0x1p-125F && std::abs(single) < 0x1p127F) {
            ASSERT_EQ(CnvPdpF2PcF(pdpFloat(single).data()), single);
            ASSERT_EQ(CnvCapsF2PcF(capsFloat(single).data()), single);
        }
        // 40 significant bits of 53 are left.
        const double kept = std::trunc(std::ldexp(value, 39 - std::ilogb(value)));
        ASSERT_EQ(CnvCapsD2PcD(capsDouble(value).data()), std::ldexp(kept, std::ilogb(value) - 39));
    }
}

TEST_F(RandomNumbers, SplitIntoWholeAndFraction) {
    for (int i = 0; i < kRandomCases; ++i) {
        // All exponents that have both parts, and a few to either side.
        const std::uint64_t bits = draw();
        const int exponent = 125 + static_cast<int>(bits / 2 % 64);
        const std::uint64_t head = bits % 2 << 8 | static_cast<std::uint64_t>(exponent);
        Words words = wordsOf(bytesOf(head << 55 | bits >> 9).data(), 8);
        std::reverse(words.begin(), words.end());
        const long double value = valueOf(bits % 2 != 0, exponent, bits >> 9, 55);
        double whole = -1.0;
        const double rest = PdpD_modf(words.data(), &whole);
        ASSERT_EQ(rest, cutToDouble(value - std::trunc(value)));
        ASSERT_EQ(whole, cutToDouble(std::trunc(value)));
        ASSERT_TRUE(rest == 0.0 || std::signbit(rest) == (value < 0));
        ASSERT_FALSE((rest == 0.0 && std::signbit(rest)) || (whole == 0.0 && std::signbit(whole)));
    }
}

TEST(NumberFormats, TwosComplementNumbers) {
    const std::pair<Words, double> cases[] = {
        {{0, 0, 0, 0x8000}, 0.0},        {{0, 0, 0, 0x8012}, 0.0},
        {{0, 0, 0, 0x0000}, 1.0},        {{0, 0, 0, 0x0080}, -2.0},
        {{0, 0, 0, 0x01C0}, -3.0},       {{0, 0, 0, 0xFF40}, 0.75},
        {{0, 0, 0, 0x7F7F}, 0x1.FEp127}, {{1, 0xFF00, 0xFFFF, 0}, 1.0 + 0x1p-31},
        {{0, 1, 0, 0}, 1.0 + 0x1p-15}};
    for (const auto& [words, expected] : cases) {
        double value = 99.0;
        cnvten(words.data(), &value);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(cnvte(words.data()), expected);
    }
    float single = 99.0F;
    cnvtsn(Words{1, 0x0080}.data(), &single);
    EXPECT_EQ(single, -2.0F + 0x1p-23F);
    EXPECT_EQ(cnvts(Words{0, 0xFF40}.data()), 0.75F);
}

TEST(WordHelpers, SwapInPlace) {
    unsigned short word = 0x1234;
    EXPECT_EQ(u16swap(&word), 0x3412);
    EXPECT_EQ(word, 0x3412);
    unsigned value = 0x12345678;
    EXPECT_EQ(lswap(&value), 0x56781234U);
    EXPECT_EQ(value, 0x56781234U);
    Words words{0x0102, 0x0304, 0x0506};
    ByteSwap(words.data(), 2);
    ByteSwap(words.data(), -1);
    EXPECT_EQ(words, (Words{0x0201, 0x0403, 0x0506}));
    Bytes bytes{1, 2, 3, 4, 5};
    MSW16_LSW16_swap(bytes.data());
    EXPECT_EQ(bytes, (Bytes{3, 4, 1, 2, 5}));
    EXPECT_EQ(flushZero(bytes.data(), 4), 0);
    EXPECT_EQ(flushZero(bytes.data() + 4, 0), 0);
    EXPECT_EQ(bytes, (Bytes{0x55, 0x55, 0x55, 0x55, 5}));
}

TEST(WordHelpers, BcdDigits) {
    EXPECT_EQ(FromNBCD(0x12A4), 1204);
    EXPECT_EQ(FromNBCD(0xB123), 123);
    EXPECT_EQ(ToNBCD(10000), 0);
    EXPECT_EQ(ToNBCD(65535), 0);
    EXPECT_EQ(ToNBCD(1234), 0x1234);
    for (unsigned short number = 0; number < 10000; ++number) {
        ASSERT_EQ(FromNBCD(ToNBCD(number)), number);
    }
}

TEST(WordHelpers, SecondsAndNanosecondsOfAnyNumber) {
    constexpr int kMost = std::numeric_limits<int>::max();
    const std::tuple<double, int, double> cases[] = {{1.5, 1, 5e8},
                                                     {-1.25, -1, -2.5e8},
                                                     {0.0, 0, 0.0},
                                                     {1e30, kMost, 0.0},
                                                     {-kInf, -kMost - 1, 0.0}};
    for (const auto& [value, seconds, nanoseconds] : cases) {
        int whole = 7;
        double rest = 7.0;
        ToSecondsNanoseconds(&whole, &rest, value);
        EXPECT_EQ(whole, seconds);
        EXPECT_EQ(rest, nanoseconds) << value;
    }
    EXPECT_EQ(DirectionRadiansFromVelocity(2.0, 1.0), std::atan2(2.0, 1.0));
    EXPECT_EQ(DirectionRadiansFromVelocityF(-1.0F, 2.0F), std::atan2(-1.0F, 2.0F));
}
