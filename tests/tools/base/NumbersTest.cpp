// Numbers as text.
#include "tools/base/Numbers.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

TEST(Numbers, doublesShowTheDigitsThatAreCertain) {
    struct {
        double number;
        char const* text;
    } const cases[] = {{0.1, "0.1"},
                       {812.5, "812.5"},
                       {1045 * 0.01, "10.45"},
                       {-221.5, "-221.5"},
                       {1e300, "1e+300"},
                       {1e15, "1e+15"},
                       {123456789012345, "123456789012345"},
                       {0, "0"}};
    for (auto const& each : cases)
        EXPECT_EQ(numberText(each.number), each.text);
}

TEST(Numbers, rawValuesAreSignedIfTheirTypeIs) {
    EXPECT_EQ(rawText(0xffffffffffffff23, signalSigned), "-221");
    EXPECT_EQ(rawText(0xffffffffffffff23, signalUnsigned), "18446744073709551395");
}

TEST(Numbers, secondsAreExactToTheMicrosecond) {
    EXPECT_EQ(secondsText(0), "0.000000");
    EXPECT_EQ(secondsText(1700000007000042), "1700000007.000042");
    EXPECT_EQ(secondsText(~std::uint64_t{0}), "18446744073709.551615");
}

TEST(Numbers, microsecondsAreTheNearest) {
    EXPECT_EQ(microseconds(0.1), 100000U);
    EXPECT_EQ(microseconds(1.1), 1100000U);
    EXPECT_EQ(microseconds(0.0000015), 2U);
    EXPECT_EQ(microseconds(1e6), 1000000000000U);
}

} // namespace
} // namespace qztool
