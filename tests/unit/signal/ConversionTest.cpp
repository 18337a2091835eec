// Raw values become physical values, the same on every target to the last bit.
#include "qzsignal/signal/Conversion.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace qzsignal
