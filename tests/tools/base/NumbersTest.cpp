// Numbers as text.
#include "tools/base/Numbers.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

TEST(Numbers, doublesReadBackToTheSameNumber) {
    for (double const number : {0.0, 0.1, -221.5, 1e300, 2.3e-308, 0.30000000000000004})
        EXPECT_EQ(std::stod(numberText(number)), number);
    EXPECT_EQ(numberText(0.1), "0.1");
    EXPECT_EQ(numberText(812.5), "812.5");
}

TEST(Numbers, rawValuesAreSignedIfTheirTypeIs) {
    EXPECT_EQ(rawText(0xffffffffffffff23, signalSigned), "-221");
    EXPECT_EQ(rawText(0xffffffffffffff23, signalUnsigned), "18446744073709551395");
}

} // namespace
} // namespace qztool
