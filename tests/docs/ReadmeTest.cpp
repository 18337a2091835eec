// The README shows code that is built and run.
#include "tests/support/Page.h"

#include <gtest/gtest.h>

namespace {

std::string withoutIndentation(std::string const& line) {
    std::size_t const first = line.find_first_not_of(' ');
    return first == std::string::npos ? "" : line.substr(first);
}

bool quotes(std::vector<std::string> const& piece, Page const& program) {
    std::vector<std::string> const& lines = program.lines();
    for (std::size_t start = 0; start + piece.size() <= lines.size(); ++start) {
        std::size_t same = 0;
        while (same < piece.size() && withoutIndentation(piece[same]) == withoutIndentation(lines[start + same]))
            ++same;
        if (same == piece.size())
            return true;
    }
    return false;
}

TEST(Readme, quotesTheExamples) {
    Page const programs[] = {Page("examples/writer.cpp"), Page("examples/reader.cpp"),
                             Page("examples/trigger-loop.cpp")};
    std::vector<std::vector<std::string>> const pieces = Page("README.md").blocks("cpp");
    EXPECT_GE(pieces.size(), 5U);
    for (std::vector<std::string> const& piece : pieces) {
        ASSERT_FALSE(piece.empty());
        bool quoted = false;
        for (Page const& program : programs)
            quoted = quoted || quotes(piece, program);
        EXPECT_TRUE(quoted) << "no example has the lines from '" << piece.front() << "'";
    }
}

} // namespace
