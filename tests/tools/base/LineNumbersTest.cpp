// Ranges of line numbers and their cap.
#include "tools/base/LineNumbers.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

TEST(LineNumbersTest, noLinesHaveNoText) {
    LineNumbers const lines;
    EXPECT_EQ(lines.count(), 0U);
    EXPECT_EQ(lines.text(), "");
}

TEST(LineNumbersTest, neighboursBecomeRanges) {
    LineNumbers lines;
    for (std::size_t line : {3U, 17U, 18U, 19U, 20U, 31U, 33U})
        lines.add(line);
    EXPECT_EQ(lines.text(), "3, 17-20, 31, 33");
    EXPECT_EQ(lines.count(), 7U);
}

TEST(LineNumbersTest, linesBeyondTheCapAreCounted) {
    LineNumbers lines(3);
    for (std::size_t line : {3U, 17U, 18U, 31U, 32U, 40U, 41U, 42U, 50U})
        lines.add(line);
    EXPECT_EQ(lines.text(), "3, 17-18, 31-32 and 4 more");
    EXPECT_EQ(lines.count(), 9U);
}

TEST(LineNumbersTest, capOfZeroOnlyCounts) {
    LineNumbers lines(0);
    lines.add(5);
    EXPECT_EQ(lines.text(), "1 more");
}

TEST(LineNumbersTest, textStaysShortForManyLines) {
    LineNumbers lines;
    for (std::size_t line = 1; line < 2'000'000; line += 2)
        lines.add(line);
    EXPECT_EQ(lines.count(), 1'000'000U);
    EXPECT_LT(lines.text().size(), 300U);
    EXPECT_NE(lines.text().find(", 99 and 999950 more"), std::string::npos) << lines.text();
}

TEST(LineNumbers, lineThatComesAgainIsCountedButNotListedAgain) {
    LineNumbers numbers;
    for (std::size_t const line : {3, 3, 4, 4, 9})
        numbers.add(line);
    EXPECT_EQ(numbers.count(), 5U);
    EXPECT_EQ(numbers.text(), "3-4, 9");
}

} // namespace
} // namespace qztool
