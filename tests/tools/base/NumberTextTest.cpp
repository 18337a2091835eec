// Numbers as exported files have them.
#include "tools/base/NumberText.h"

#include "tests/support/Emulation.h"

#include <gtest/gtest.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace qztool {
namespace {

std::string textOf(double number) {
    char text[longestNumber];
    return std::string(text, writeDouble(text, number));
}

TEST(NumberText, doublesHaveTheFewestDigitsInTheirNotation) {
    constexpr double infinite = std::numeric_limits<double>::infinity();
    struct {
        double number;
        char const* text;
    } const cases[] = {{58.26, "58.26"},
                       {4, "4"},
                       {100000, "100000"},
                       {-0.5, "-0.5"},
                       {0, "0"},
                       {-0.0, "-0"},
                       {0.1 + 0.2, "0.30000000000000004"},
                       {1045 * 0.01, "10.450000000000001"},
                       {1e-5, "0.00001"},
                       {-1.25e-5, "-0.0000125"},
                       {9.999999999999999e-6, "9.999999999999999e-06"},
                       {1e-9, "1e-09"},
                       {5e-324, "5e-324"},
                       {-1e-300, "-1e-300"},
                       {123456789012345.6, "123456789012345.6"},
                       {999999999999999.9, "999999999999999.9"},
                       {1e15, "1000000000000000"},
                       {-1e15, "-1000000000000000"},
                       {1000000000000000.1, "1.0000000000000001e+15"},
                       {1e20, "1e+20"},
                       {18446744073709551615.0, "1.8446744073709552e+19"},
                       {1.7976931348623157e308, "1.7976931348623157e+308"},
                       {infinite, "inf"},
                       {-infinite, "-inf"},
                       {std::nan(""), "nan"},
                       {-std::nan(""), "nan"}};
    for (auto const& each : cases)
        EXPECT_EQ(textOf(each.number), each.text);
}

TEST(NumberText, doublesReadBackAsTheSame) {
    std::mt19937_64 random(15);
    for (unsigned i = 0; i < modelSteps; ++i) {
        std::uint64_t const bits = random();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        // Values of a bus, and patterns of any size.
        if (i % 2 == 0)
            number = static_cast<double>(static_cast<std::int32_t>(bits)) * 0.0625 * static_cast<double>(bits >> 60);
        if (std::isnan(number))
            continue;
        std::string const text = textOf(number);
        ASSERT_LT(text.size(), longestNumber);
        double again = 0;
        ASSERT_EQ(std::from_chars(text.data(), text.data() + text.size(), again).ptr, text.data() + text.size());
        EXPECT_EQ(std::memcmp(&again, &number, sizeof number), 0) << text;
        double const size = std::fabs(number);
        bool const isFixed = number == 0 || (size >= 1e-5 && size <= 1e15) || std::isinf(number);
        EXPECT_EQ(text.find('e') == std::string::npos, isFixed) << text;
    }
}

TEST(NumberText, localesMakeNoDifference) {
    // Where none of these is installed, nothing can go wrong.
    for (char const* const name : {"de_DE.UTF-8", "fr_FR.UTF-8"})
        if (std::setlocale(LC_ALL, name) != nullptr)
            break;
    EXPECT_EQ(textOf(1234.5), "1234.5");
    std::setlocale(LC_ALL, "C");
}

TEST(NumberText, timesHaveSixDecimalsAndMayBeBelowTheirStart) {
    auto const since = [](std::uint64_t time, std::uint64_t start) {
        char text[longestNumber];
        return std::string(text, writeSecondsSince(text, time, start));
    };
    EXPECT_EQ(since(1700000007000042, 0), "1700000007.000042");
    EXPECT_EQ(since(~std::uint64_t{0}, 0), "18446744073709.551615");
    EXPECT_EQ(since(5, 5), "0.000000");
    EXPECT_EQ(since(2500000, 1000000), "1.500000");
    EXPECT_EQ(since(1000000, 2500001), "-1.500001");
    EXPECT_EQ(since(0, ~std::uint64_t{0}), "-18446744073709.551615");
}

} // namespace
} // namespace qztool
