#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "receiver/ReceiverFixture.h"
#include "receiver/cvt.h"

using receiver_test::Bytes;
using receiver_test::bytesOf;
using receiver_test::Words;
using receiver_test::wordsOf;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int kRandomCases = 100000;

/** A number by its fields, worked out in floating point: (-1)^S * 0.1F * 2^(E - 128), with at most
 *  53 bits of 0.1F. */
double valueOf(bool negative, int exponent, std::uint64_t fraction, int fractionBits) {
    std::uint64_t significand = fraction | std::uint64_t{1} << fractionBits;
    int scale = exponent - 128 - fractionBits - 1;
    for (; significand >> 53 != 0; ++scale) {
        significand /= 2;
    }
    const double magnitude = std::ldexp(static_cast<double>(significand), scale);
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

Words pdpDouble(double value) {
    Words words(4, 0xBEEF);
    cnvpcd(&value, words.data());
    return words;
}

Words pdpFloat(float value) {
    Words words(2, 0xBEEF);
    cnvpcs(&value, words.data());
    return words;
}

Words capsDouble(double value) {
    Words words(3, 0xBEEF);
    CnvPcD2CapsE(&value, words.data());
    return words;
}

Words capsFloat(float value) {
    Words words(2, 0xBEEF);
    CnvPcF2CapsF(&value, words.data());
    return words;
}

class RandomNumbers : public testing::Test {
protected:
    RandomNumbers() { RecordProperty("seed", std::to_string(m_seed)); }

    void SetUp() override { std::cout << "seed " << m_seed << '\n'; }
    std::uint64_t draw() { return m_random(); }

private:
    std::random_device::result_type m_seed = std::random_device{}();
    std::mt19937_64 m_random{m_seed};
};

}  // namespace

TEST(NumberFormats, KnownNumbersBothWays) {
    EXPECT_EQ(pdpDouble(1.0), (Words{0x4080, 0, 0, 0}));
    EXPECT_EQ(pdpDouble(-3.25), (Words{0xC150, 0, 0, 0}));
    EXPECT_EQ(pdpDouble(0.5), (Words{0x4000, 0, 0, 0}));
    EXPECT_EQ(pdpDouble(0x1.2468ACF13579Bp0), (Words{0x4092, 0x3456, 0x789A, 0xBCD8}));
    EXPECT_EQ(pdpFloat(0x1.2468ACp0F), (Words{0x4092, 0x3456}));
    EXPECT_EQ(capsDouble(0x1.2468ACF134p0), (Words{0x9A81, 0x5678, 0x1234}));
    EXPECT_EQ(capsFloat(-0x1.2468ACp0F), (Words{0x5681, 0x9234}));
    EXPECT_EQ(capsFloat(1.0F), (Words{0x0081, 0}));

    EXPECT_EQ(CnvPdpD2PcD(Words{0x4092, 0x3456, 0x789A, 0xBCDE}.data()), 0x1.2468ACF13579Bp0);
    EXPECT_EQ(CnvPdpF2PcF(Words{0xC092, 0x3456}.data()), -0x1.2468ACp0F);
    EXPECT_EQ(CnvCapsD2PcD(Words{0x9A81, 0x5678, 0x1234}.data()), 0x1.2468ACF134p0);
    EXPECT_EQ(CnvCapsF2PcF(Words{0x5681, 0x9234}.data()), -0x1.2468ACp0F);
}

TEST(NumberFormats, EndsOfTheRange) {
    EXPECT_EQ(CnvPdpD2PcD(Words{0, 0, 0, 0}.data()), 0.0);
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
        ASSERT_EQ(CnvPdpD2PcD(words.data()), valueOf(negative, exponent, fractionOf(words, 4), 55));
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

TEST(PdpDModf, SplitsKnownNumbers) {
    struct Case {
        Words words;
        double whole;
        double fraction;
    };
    const Case cases[] = {{{0x459A, 0x5000, 0, 0}, 1234.0, 0.5},
                          {{0xC150, 0, 0, 0}, -3.0, -0.25},
                          {{0x4000, 0, 0, 0}, 0.0, 0.5},
                          {{0xC000, 0, 0, 0}, 0.0, -0.5},
                          {{0, 0, 0, 0}, 0.0, 0.0},
                          {{0xC100, 0, 0, 0}, -2.0, 0.0},
                          // The last bits of F, which a double of the whole number would lose.
                          {{0x4080, 0, 0, 1}, 1.0, 0x1p-55},
                          {{0x40FF, 0xFFFF, 0xFFFF, 0xFFFF}, 1.0, 0x1.FFFFFFFFFFFFFp-1},
                          {{0x5B80, 0, 0, 1}, 0x1p54, 0.5},
                          {{0x5C00, 0, 0, 0x000F}, 0x1.0000000000001p55, 0.0}};
    for (const Case& each : cases) {
        double whole = -1.0;
        const double fraction = PdpD_modf(each.words.data(), &whole);
        EXPECT_EQ(whole, each.whole);
        EXPECT_EQ(fraction, each.fraction) << each.whole;
        EXPECT_EQ(std::signbit(fraction), each.fraction < 0.0) << each.whole;
        EXPECT_EQ(std::signbit(whole), each.whole < 0.0) << each.whole;
    }
}

TEST_F(RandomNumbers, SplitIntoWholeAndFraction) {
    for (int i = 0; i < kRandomCases; ++i) {
        // All exponents around those that have both parts.
        const std::uint64_t bits = draw();
        const int exponent = 125 + static_cast<int>(bits % 64);
        const std::uint64_t significand = std::uint64_t{1} << 55 | bits >> 9;
        const std::uint64_t pdp = (bits & 256) << 55 | static_cast<std::uint64_t>(exponent) << 55 |
                                  (significand & ((std::uint64_t{1} << 55) - 1));
        const int restBits = std::clamp(56 - (exponent - 128), 0, 56);
        const std::uint64_t whole = restBits == 56 ? 0 : significand >> restBits;
        const std::uint64_t rest = significand - (whole << restBits);
        const auto scaled = [&](std::uint64_t part, int scale) {
            for (; part >> 53 != 0; ++scale) {
                part /= 2;
            }
            const double value = std::ldexp(static_cast<double>(part), scale);
            return bits & 256 && part != 0 ? -value : value;
        };
        const auto split = cvt::splitPdpDouble(pdp);
        ASSERT_EQ(split.whole, scaled(whole, exponent - 184 + restBits)) << std::hex << pdp;
        ASSERT_EQ(split.fraction, scaled(rest, exponent - 184)) << std::hex << pdp;
    }
}

TEST(NumberFormats, TwosComplementNumbers) {
    struct Case {
        Words words;
        double value;
    };
    const Case cases[] = {{{0, 0, 0, 0x8000}, 0.0},
                          {{0, 0, 0, 0x8012}, 0.0},
                          {{0, 0, 0, 0x0000}, 1.0},
                          {{0, 0, 0, 0x0080}, -2.0},
                          {{0, 0, 0, 0x01C0}, -3.0},
                          {{0, 0, 0, 0xFF40}, 0.75},
                          {{1, 0xFF00, 0xFFFF, 0}, 1.0 + 0x1p-31},
                          {{0, 1, 0, 0}, 1.0 + 0x1p-15},
                          {{0, 0, 0, 0x7F7F}, 0x1.FEp127}};
    for (const Case& each : cases) {
        double value = 99.0;
        cnvten(each.words.data(), &value);
        EXPECT_EQ(value, each.value);
        EXPECT_EQ(cnvte(each.words.data()), each.value);
        float single = 99.0F;
        cnvtsn(Words{0, each.words[3]}.data(), &single);
        EXPECT_EQ(single, cnvte(Words{0, 0, 0, each.words[3]}.data()));
    }
    EXPECT_EQ(cnvts(Words{1, 0x0080}.data()), -2.0F + 0x1p-23F);
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
    ByteSwap(words.data(), 0);
    ByteSwap(words.data(), -1);
    EXPECT_EQ(words, (Words{0x0201, 0x0403, 0x0506}));
    Bytes bytes{1, 2, 3, 4, 5};
    MSW16_LSW16_swap(bytes.data());
    EXPECT_EQ(bytes, (Bytes{3, 4, 1, 2, 5}));
}

TEST(WordHelpers, BcdDigits) {
    EXPECT_EQ(FromNBCD(0x1234), 1234);
    EXPECT_EQ(FromNBCD(0x12A4), 1204);
    EXPECT_EQ(FromNBCD(0xB123), 123);
    EXPECT_EQ(FromNBCD(0xFFFF), 0);
    EXPECT_EQ(ToNBCD(10000), 0);
    EXPECT_EQ(ToNBCD(65535), 0);
    EXPECT_EQ(ToNBCD(1234), 0x1234);
    for (unsigned short number = 0; number < 10000; ++number) {
        ASSERT_EQ(FromNBCD(ToNBCD(number)), number);
    }
}

TEST(WordHelpers, FlushZeroLeavesThePattern) {
    Bytes bytes(5, 1);
    EXPECT_EQ(flushZero(bytes.data(), 4), 0);
    EXPECT_EQ(bytes, (Bytes{0x55, 0x55, 0x55, 0x55, 1}));
    EXPECT_EQ(flushZero(bytes.data() + 4, 0), 0);
    EXPECT_EQ(bytes[4], 1);
}

TEST(WordHelpers, SecondsAndNanoseconds) {
    struct Case {
        double value;
        int seconds;
        double nanoseconds;
    };
    for (const Case& each : {Case{1.5, 1, 5e8}, Case{-1.25, -1, -2.5e8}, Case{0.0, 0, 0.0},
                             Case{1e30, std::numeric_limits<int>::max(), 0.0},
                             Case{-kInf, std::numeric_limits<int>::min(), 0.0}}) {
        int seconds = 7;
        double nanoseconds = 7.0;
        ToSecondsNanoseconds(&seconds, &nanoseconds, each.value);
        EXPECT_EQ(seconds, each.seconds);
        EXPECT_EQ(nanoseconds, each.nanoseconds) << each.value;
    }
    EXPECT_EQ(DirectionRadiansFromVelocity(1.0, 0.0), std::atan2(1.0, 0.0));
    EXPECT_EQ(DirectionRadiansFromVelocityF(-1.0F, 1.0F), std::atan2(-1.0F, 1.0F));
}
