// Tokens of expressions, one case for each rule.
#include "tools/expression/Tokens.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

// Each token as a letter for its kind and its text, "\n" as N alone; "!" where it lies outside of the text.
std::string tokens(std::string const& expression) {
    std::string result;
    for (Token const& token : tokensOf(expression)) {
        char const* const kinds = "nk#s";
        bool const inside = token.end <= expression.size() + 1 && token.begin < token.end;
        std::string const text = inside ? (expression + "\n").substr(token.begin, token.end - token.begin) : "!";
        result += result.empty() ? "" : " ";
        result += token.kind == Token::Kind::LineEnd ? "N" : kinds[static_cast<int>(token.kind)] + text;
    }
    return result;
}

struct Case {
    char const* expression;
    char const* expected;
};

void check(std::initializer_list<Case> cases) {
    for (Case const& each : cases)
        EXPECT_EQ(tokens(each.expression), each.expected) << each.expression;
}

TEST(TokensTest, emptyLinesAreSkipped) {
    check({{"", ""}, {" \t\r", ""}, {"\n\n a", "na N"}, {"a\n \n", "na N"}, {"a\nb", "na N nb N"}});
}

TEST(TokensTest, commentsBeginALine) {
    check({{"# a + b", ""}, {"#\na", "na N"}, {" \t# a\n\n# b\nc", "nc N"}, {"a # b", "na nb N"}, {"a\n# b", "na N"}});
}

TEST(TokensTest, blanksSeparate) {
    check({{"a b\tc\rd", "na nb nc nd N"}, {"  a  ", "na N"}});
}

TEST(TokensTest, signsAreTakenAsLongAsPossible) {
    check({{"<=>===!=||&&", "s<= s>= s== s!= s|| s&& N"},
           {"<>!+-*/()", "s< s> s! s+ s- s* s/ s( s) N"},
           {"<==", "s<= N"},
           {"!==", "s!= N"},
           {",", "s, N"}});
}

TEST(TokensTest, numbersHaveFractionAndExponentButNoSign) {
    check({{"1 12 012", "#1 #12 #012 N"},
           {"1.5 1. .5", "#1.5 #1. #.5 N"},
           {"1e5 1E5 1e+5 1.5e-3 .5e1 1.e1", "#1e5 #1E5 #1e+5 #1.5e-3 #.5e1 #1.e1 N"},
           {"-1", "s- #1 N"},
           {"1e", "#1 ne N"},
           {"1e+", "#1 ne s+ N"},
           {"1e-x", "#1 ne s- nx N"},
           {"0x1F", "#0 nx1F N"},
           {"1.2.3", "#1.2 #.3 N"},
           {"1..5", "#1. #.5 N"},
           {". .a", "na N"}});
}

TEST(TokensTest, keywordsAreWholeWordsInLowerCase) {
    check({{"released pressed pressed_long high low", "kreleased kpressed kpressed_long khigh klow N"},
           {"Released HIGH lowx pressed_lon released_ high.low",
            "nReleased nHIGH nlowx npressed_lon nreleased_ nhigh.low N"},
           {"x==low", "nx s== klow N"}});
}

TEST(TokensTest, namesEndAtBlanksAndAtSomeSigns) {
    check({{"CAN.Speed DI.1 _x", "nCAN.Speed nDI.1 n_x N"},
           {"a+b-c*d/e", "na s+ nb s- nc s* nd s/ ne N"},
           {"a<b>c<=d>=e", "na s< nb s> nc s<= nd s>= ne N"},
           {"a(b)c!d", "na s( nb s) nc s! nd N"},
           {"a,b:c=d", "na s, nb nc nd N"},
           {"a==b!=c", "na s== nb s!= nc N"},
           {"a&&b a||b", "na&&b na||b N"},
           {"a|b&c^d#e;f\"g'h[i]j{k}l@m$n%o?p~q`r\\s", "na|b&c^d#e;f\"g'h[i]j{k}l@m$n%o?p~q`r\\s N"},
           {"\xc3\xa4 a\xc3\xa4\xff", "na\xc3\xa4\xff N"}});
}

TEST(TokensTest, charactersThatMeanNothingAreSkipped) {
    check({{"a = b", "na nb N"}, {"a ^ b", "na nb N"}, {"& | : ; \" ' @", "N"}, {"&|&", "N"}, {"a & b", "na nb N"}});
    EXPECT_EQ(tokens(std::string("a\0b \0", 5)), "na nb N");
}

TEST(TokensTest, signalNamesComeOnceInOrder) {
    EXPECT_EQ(signalNames("b.x > 1 && (a == pressed || !b.x) && c"), (std::vector<std::string>{"b.x", "a", "c"}));
    EXPECT_EQ(signalNames("1 + 2"), std::vector<std::string>());
    EXPECT_EQ(signalNames("# b\na"), std::vector<std::string>{"a"});
}

} // namespace
} // namespace qztool
