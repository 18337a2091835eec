// Expressions that compile, and the place of the error in others.
#include "tools/expression/Compile.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

class CompileTest : public testing::Test {
protected:
    ~CompileTest() override {
        // The parser creates signals for unknown names, and does not own them.
        while (!BaseSignal::instances.empty())
            delete BaseSignal::instances.begin()->second;
    }
    // What is reported on a text that is not an expression.
    std::string reported(std::string const& expression) {
        Capture const errors(std::cerr);
        EXPECT_EQ(compile(expression, false, d_console), nullptr);
        return errors.text();
    }

    Console d_console;
};

TEST_F(CompileTest, goodExpressionIsCompiledSilently) {
    Capture const errors(std::cerr);
    std::unique_ptr<ExpParser> const parser = compile("1 + 2 * 3", false, d_console);
    ASSERT_NE(parser, nullptr);
    EXPECT_EQ(parser->getValue(), 7);
    EXPECT_TRUE(parser->getTrigger());
    EXPECT_TRUE(parser->getTrigger());
    std::unique_ptr<ExpParser> const edge = compile("1", true, d_console);
    EXPECT_TRUE(edge->getTrigger());
    EXPECT_FALSE(edge->getTrigger());
    EXPECT_EQ(errors.text(), "");
}

TEST_F(CompileTest, parsersLineAndThePlaceAreShown) {
    EXPECT_EQ(reported("a b"), "[ERROR] expression parser: line 1 syntax error at 'a b'\n"
                               "    a b\n"
                               "      ^\n");
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
}

TEST_F(CompileTest, caretIsUnderTheOffendingToken) {
    struct {
        char const* expression;
        char const* line;
        std::size_t column;
    } const cases[] = {
        {") a", ") a", 0},
        {"a ^ b", "a ^ b", 4},
        {"a,b", "a,b", 1},
        {"(a < b) + 1", "(a < b) + 1", 8},
        {"a +", "a +", 3},
        {"a + ", "a + ", 4},
        {"(a", "(a", 2},
        {"a && b c && d", "a && b c && d", 7},
        // The words that the parser shows also come earlier, where they are right.
        {"b < a && a < b < 3", "b < a && a < b < 3", 15},
        {"b + 1 && (a b) + 1", "b + 1 && (a b) + 1", 12},
        {"a - - a - - * a", "a - - a - - * a", 12},
        {"- a < b && b - a < b < b", "- a < b && b - a < b < b", 21},
        // Other lines, tabs and letters of several bytes.
        {"a\nb", "b", 0},
        {"# speed limit\n\n a b", " a b", 3},
        {"\ta\tb", " a b", 3},
        {"a\xc3\xa4\xe2\x82\xac b", "a\xc3\xa4\xe2\x82\xac b", 4},
    };
    for (auto const& each : cases) {
        std::string const text = reported(each.expression);
        std::string const place = "    " + std::string(each.line) + "\n    " + std::string(each.column, ' ') + "^\n";
        EXPECT_TRUE(text.size() > place.size() && text.substr(text.size() - place.size()) == place)
            << each.expression << "\n"
            << text;
        EXPECT_EQ(text.find("[ERROR] expression parser: line "), 0U) << text;
        EXPECT_EQ(text.find("[ERROR] parser error"), std::string::npos) << text;
    }
}

TEST_F(CompileTest, badExpressionLeavesNoSignals) {
    reported("Unknown + Missing *");
    EXPECT_TRUE(BaseSignal::instances.empty());
}

TEST_F(CompileTest, emptyExpressionHasNoPlace) {
    for (char const* const expression : {"", "  ", "# a"}) {
        std::string const text = reported(expression);
        std::string const end = "\nqzsignal: error: the expression is empty\n";
        EXPECT_EQ(text.find("[ERROR] expression parser: line "), 0U) << text;
        EXPECT_TRUE(text.size() > end.size() && text.substr(text.size() - end.size()) == end) << text;
        EXPECT_EQ(text.find('^'), std::string::npos) << text;
    }
}

} // namespace
} // namespace qztool
