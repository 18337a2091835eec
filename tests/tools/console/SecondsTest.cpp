// Times on the command line.
#include "tools/console/Seconds.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

TEST(Seconds, areExactToTheMicrosecond) {
    struct {
        char const* text;
        std::uint64_t microseconds;
        bool isExact;
    } const cases[] = {{"0", 0, true},
                       {"1700000000.000001", 1700000000000001, true},
                       {"1757618285.968981", 1757618285968981, true},
                       {".5", 500000, true},
                       {"2.", 2000000, true},
                       {"0.10000000", 100000, true},
                       {"0.0000015", 1, false},
                       {"18446744073709.551615", 18446744073709551615U, true},
                       {"1e-3", 1000, true},
                       {"1.7e9", 1700000000000000, true},
                       {"1e-7", 0, false}};
    for (auto const& each : cases) {
        auto const seconds = parseSeconds(each.text);
        ASSERT_TRUE(seconds) << each.text;
        EXPECT_EQ(seconds->microseconds, each.microseconds) << each.text;
        EXPECT_EQ(seconds->isExact, each.isExact) << each.text;
    }
}

TEST(Seconds, otherTextsAreNone) {
    for (char const* const text : {"", ".", "-1", "+1", "1s", " 1", "1 ", "1.2.3", "0x10", "nan", "inf", "-inf",
                                   "1e300", "18446744073710", "18446744073709.551616", "99999999999999999999999"})
        EXPECT_FALSE(parseSeconds(text)) << text;
}

} // namespace
} // namespace qztool
