// Lines that are kept for some time.
#include "tools/cut/LineRing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <utility>

namespace qztool {
namespace {

std::string textOf(LineRing const& ring) {
    std::string text;
    ring.forEach([&text](std::uint64_t time, std::string_view line) {
        text.append(std::to_string(time)).append("=").append(line).append(" ");
    });
    return text;
}

TEST(LineRing, keepsLinesFromATimeOn) {
    LineRing ring;
    EXPECT_EQ(textOf(ring), "");
    ring.push(1, "a");
    ring.push(2, "");
    ring.push(2, "bcd");
    ring.push(5, "e");
    EXPECT_EQ(textOf(ring), "1=a 2= 2=bcd 5=e ");
    ring.removeBefore(2);
    EXPECT_EQ(textOf(ring), "2= 2=bcd 5=e ");
    ring.removeBefore(3);
    EXPECT_EQ(textOf(ring), "5=e ");
    ring.push(4, "f");
    ring.removeBefore(5);
    EXPECT_EQ(textOf(ring), "5=e 4=f ") << "only the front is looked at";
    ring.clear();
    EXPECT_EQ(textOf(ring), "");
}

TEST(LineRing, isAQueueWhateverTheOrderOfCalls) {
    LineRing ring;
    std::deque<std::pair<std::uint64_t, std::string>> expected;
    unsigned random = 1;
    for (std::uint64_t time = 0; time < 5000; ++time) {
        random = random * 1103515245 + 12345;
        expected.emplace_back(time, std::string(random >> 16 & 15, static_cast<char>('a' + time % 26)));
        ring.push(time, expected.back().second);
        if ((random >> 20 & 3) != 0)
            continue;
        std::uint64_t const first = time - std::min<std::uint64_t>(time, random >> 22 & 63);
        ring.removeBefore(first);
        while (!expected.empty() && expected.front().first < first)
            expected.pop_front();
        std::string text;
        for (auto const& [lineTime, line] : expected)
            text.append(std::to_string(lineTime)).append("=").append(line).append(" ");
        ASSERT_EQ(textOf(ring), text) << time;
    }
}

} // namespace
} // namespace qztool
