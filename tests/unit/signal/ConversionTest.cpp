// Raw values become physical values and the other way round, the same on every target to the last bit.
#include "qzsignal/signal/Conversion.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace qzsignal {
namespace {

double converted(std::uint64_t value, signalValue_t type, double scale, double offset) {
    double phys = -12345;
    convert(value, type, scale, offset, phys);
    return phys;
}

std::uint64_t bitsOf(double number) {
    return fromBits<std::uint64_t>(number);
}

TEST(Conversion, scalesEachType) {
    EXPECT_EQ(converted(100, signalUnsigned, 0.5, -40), 10.0);
    EXPECT_EQ(converted(0xffffffffffffff23, signalSigned, 2, 1), -441.0);
    EXPECT_EQ(converted(0x3fc00000, signalFloat, 2, 10), 13.0);
    EXPECT_EQ(converted(bitsOf(-0.75), signalDouble, 4, 1), -2.0);
}

TEST(Conversion, takesOnlyTheLowHalfOfAFloat) {
    EXPECT_EQ(converted(0xdeadbeef3fc00000, signalFloat, 1, 0), 1.5);
}

TEST(Conversion, convertsUnsignedNumbersOfSixtyFourBitsCorrectly) {
    EXPECT_EQ(converted(0x8000000000000000, signalUnsigned, 1, 0), 9223372036854775808.0);
    EXPECT_EQ(converted(0xffffffffffffffff, signalUnsigned, 1, 0), 18446744073709551616.0);
    // Halfway cases go to the even neighbour, once: rounding twice would end at the wrong one.
    EXPECT_EQ(bitsOf(converted(0x8000000000000400, signalUnsigned, 1, 0)), 0x43e0000000000000U);
    EXPECT_EQ(bitsOf(converted(0x8000000000000401, signalUnsigned, 1, 0)), 0x43e0000000000001U);
    EXPECT_EQ(bitsOf(converted(0x8000000000000c00, signalUnsigned, 1, 0)), 0x43e0000000000002U);
}

TEST(Conversion, convertsSignedNumbersOfSixtyFourBitsCorrectly) {
    EXPECT_EQ(converted(0x8000000000000000, signalSigned, 1, 0), -9223372036854775808.0);
    EXPECT_EQ(converted(0x7fffffffffffffff, signalSigned, 1, 0), 9223372036854775808.0);
}

TEST(Conversion, roundsProductAndSumSeparately) {
    // 3 * 0.1 rounds up to 0.30000000000000004; the sum is taken of that. A fused multiply-add keeps the exact product.
    EXPECT_EQ(bitsOf(converted(3, signalUnsigned, 0.1, -0.3)), 0x3c90000000000000U);
    EXPECT_EQ(bitsOf(converted(bitsOf(3.0), signalDouble, 0.1, -0.3)), 0x3c90000000000000U);
}

TEST(Conversion, unknownTypeLeavesThePhysicalValue) {
    EXPECT_EQ(converted(1, static_cast<signalValue_t>(4), 1, 0), -12345);
    EXPECT_EQ(converted(1, static_cast<signalValue_t>(-1), 1, 0), -12345);
}

TEST(Conversion, unconvertsWhatWasConverted) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 1000; ++round) {
        std::uint64_t const raw = random() >> 12; // as long as a double is exact
        EXPECT_EQ(unconvert(converted(raw, signalUnsigned, 0.5, 0), signalUnsigned, 0.5, 0), raw);
        std::uint64_t const negative = 0 - raw;
        EXPECT_EQ(unconvert(converted(negative, signalSigned, -2, 0), signalSigned, -2, 0), negative);
        std::uint64_t const narrow = random() & 0x7f7fffff;
        EXPECT_EQ(unconvert(converted(narrow, signalFloat, 4, 0), signalFloat, 4, 0), narrow);
        std::uint64_t const wide = bitsOf(static_cast<double>(random()));
        EXPECT_EQ(unconvert(converted(wide, signalDouble, 4, 0), signalDouble, 4, 0), wide);
    }
}

TEST(Conversion, unconvertRoundsHalfUp) {
    struct {
        double phys;
        std::int64_t raw;
    } const cases[] = {{2.4, 2}, {2.5, 3}, {2.6, 3}, {0.49, 0}, {-0.5, 0}, {-0.6, -1}, {-1.5, -1}, {-1.51, -2}};
    for (auto const& each : cases) {
        EXPECT_EQ(unconvert(each.phys, signalSigned, 1, 0), static_cast<std::uint64_t>(each.raw)) << each.phys;
        EXPECT_EQ(unconvert(each.phys, signalUnsigned, 1, 0), static_cast<std::uint64_t>(each.raw < 0 ? 0 : each.raw))
            << each.phys;
    }
    EXPECT_EQ(unconvert(12.3, signalUnsigned, 0.5, 10), 5U);
    EXPECT_EQ(unconvert(12.2, signalUnsigned, 0.5, 10), 4U);
}

TEST(Conversion, unconvertIsDefinedForEveryNumber) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    constexpr double tiny = std::numeric_limits<double>::denorm_min();
    constexpr std::uint64_t most = ~std::uint64_t{0}, least = 0x8000000000000000;
    struct {
        double phys, scale;
        std::uint64_t fromUnsigned, fromSigned;
        std::uint32_t fromFloat;
    } const cases[] = {
        {infinity, 1, ~std::uint64_t{0}, most, 0x7f800000},
        {-infinity, 1, 0, least, 0xff800000},
        {none, 1, 0, 0, 0x7fc00000},
        {-none, 1, 0, 0, 0xffc00000},
        {1, 0, ~std::uint64_t{0}, most, 0x7f800000},
        {-1, 0, 0, least, 0xff800000},
        {1e308, 1, ~std::uint64_t{0}, most, 0x7f800000},
        {-1e308, 1, 0, least, 0xff800000},
        {1, tiny, ~std::uint64_t{0}, most, 0x7f800000},
        {18446744073709549568.0, 1, 0xfffffffffffff800, 0xfffffffffffff800, 0x5f800000},
        {9223372036854775808.0, 1, least, least, 0x5f000000},
        {1e19, 1, 10000000000000000000U, 10000000000000000000U, 0x5f0ac723},
        {-9223372036854775808.0, 1, 0, least, 0xdf000000},
        {-9223372036854774784.0, 1, 0, 0x8000000000000400, 0xdf000000},
        {tiny, 1, 0, 0, 0},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(unconvert(each.phys, signalUnsigned, each.scale, 0), each.fromUnsigned) << each.phys;
        EXPECT_EQ(unconvert(each.phys, signalSigned, each.scale, 0), each.fromSigned) << each.phys;
        EXPECT_EQ(unconvert(each.phys, signalFloat, each.scale, 0), each.fromFloat) << each.phys;
        EXPECT_EQ(unconvert(each.phys, static_cast<signalValue_t>(4), each.scale, 0), 0U) << each.phys;
    }
    EXPECT_EQ(unconvert(-none, signalDouble, 1, 0), 0xfff8000000000000U);
    EXPECT_EQ(unconvert(-infinity, signalDouble, 1, 0), 0xfff0000000000000U);
}

// What a processor makes of 0 / 0 is its own business.
TEST(Conversion, noNumberKeepsThePatternOfTheQuotient) {
    double volatile zero = 0;
    EXPECT_EQ(unconvert(0, signalDouble, 0, 0), bitsOf(zero / zero));
    double payload = 0;
    for (std::uint64_t const bits : {0x7ff8123456789abcU, 0xfff8123456789abcU}) {
        std::memcpy(&payload, &bits, sizeof payload);
        EXPECT_EQ(unconvert(payload, signalDouble, 1, 0), bits);
        EXPECT_EQ(unconvert(payload, signalFloat, 1, 0), (bits >> 32 & 0x80000000) | 0x7fc091a2U);
        EXPECT_EQ(unconvert(payload, signalUnsigned, 1, 0), 0U);
        EXPECT_EQ(unconvert(payload, signalSigned, 1, 0), 0U);
    }
}

} // namespace
} // namespace qzsignal
