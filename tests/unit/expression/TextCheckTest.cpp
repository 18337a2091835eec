// What is known of a text without compiling it: its error, and the names of signals in it.
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

class TextCheck : public ExpressionTest {
protected:
    // The offending token as "begin-end 'its characters'"; "accepted" if there is none.
    static std::string placeOf(std::string const& text) {
        std::optional<ExpParser::Error> const error = ExpParser::check(text.c_str());
        if (!error)
            return "accepted";
        return std::to_string(error->begin) + "-" + std::to_string(error->end) + " '" +
               text.substr(error->begin, error->end - error->begin) + "'";
    }
};

TEST_F(TextCheck, acceptedTextHasNoError) {
    for (char const* const text : {"1", "a + b * 3 > 5 && c == pressed", "# comment\n a\n\n"})
        EXPECT_EQ(placeOf(text), "accepted") << text;
}

TEST_F(TextCheck, errorHasThePlaceOfTheOffendingToken) {
    std::pair<char const*, char const*> const cases[] = {
        {") a", "0-1 ')'"},
        {"a b", "2-3 'b'"},
        {"a ^ b", "4-5 'b'"},
        {"a,b", "1-2 ','"},
        {"(a < b) + 1", "8-9 '+'"},
        {"a &&  no.such == * 2", "17-18 '*'"},
        {"b < a && a < b <= 3", "15-17 '<='"},
        {"a 12.5e3 b", "2-8 '12.5e3'"},
        {"# speed limit\n\n a longer b", "18-24 'longer'"},
        {"a\nb", "2-3 'b'"},
        {"(a\n)", "2-3 '\n'"},
    };
    for (auto const& [text, place] : cases)
        EXPECT_EQ(placeOf(text), place) << text;
}

TEST_F(TextCheck, textThatEndsTooEarlyHasItsErrorAtTheEnd) {
    EXPECT_EQ(placeOf("a +"), "3-3 ''");
    EXPECT_EQ(placeOf("a + "), "4-4 ''");
    EXPECT_EQ(placeOf(""), "0-0 ''");
    EXPECT_EQ(placeOf(" # a"), "4-4 ''");
}

TEST_F(TextCheck, errorHasTheWordsOfTheParser) {
    for (char const* const text : {"a b", "a +\n* b", "", "\n\n(a", "a = b", "1,"}) {
        std::optional<ExpParser::Error> const error = ExpParser::check(text);
        ASSERT_TRUE(error) << text;
        EXPECT_EQ(error->message, "syntax error");
        EXPECT_EQ("[ERROR] " + error->text() + "\n[ERROR] parser error in ExpParser\n" + text + "\n\n", errorsOf(text));
    }
    std::optional<ExpParser::Error> const error = ExpParser::check("\n\n a >\t12 13");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->line, 3);
    EXPECT_EQ(error->context, "12 13");
    EXPECT_TRUE(ExpParser::check("# comment")->context.empty());
}

TEST_F(TextCheck, textThatIsNestedTooDeeplyExhaustsTheParser) {
    std::optional<ExpParser::Error> const error = ExpParser::check(std::string(10001, '(').c_str());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message, "memory exhausted");
    EXPECT_EQ(error->context, "((");
    EXPECT_EQ(error->end, error->begin + 1);
}

TEST_F(TextCheck, nullIsAnEmptyText) {
    ASSERT_TRUE(ExpParser::check(nullptr));
    EXPECT_EQ(ExpParser::check(nullptr)->text(), "expression parser: line 1 syntax error at ''");
    EXPECT_EQ(ExpParser::signalNames(nullptr), Names());
}

TEST_F(TextCheck, createsNothingAndReportsNothing) {
    ExpParser::debug = 1;
    Capture const output(std::cout), errors(std::cerr);
    ExpParser::check("Unknown + 1");
    ExpParser::check("Unknown + ");
    ExpParser::signalNames("Unknown");
    EXPECT_TRUE(BaseSignal::instances.empty());
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(TextCheck, eachTextHasItsOwnPlaces) {
    EXPECT_EQ(placeOf("a + b c"), "6-7 'c'");
    EXPECT_EQ(placeOf("a"), "accepted");
    EXPECT_EQ(placeOf(")"), "0-1 ')'");
    EXPECT_EQ(placeOf(""), "0-0 ''");
}

TEST_F(TextCheck, namesComeOnceInOrder) {
    EXPECT_EQ(ExpParser::signalNames("b.x > 1 && (a == pressed || !b.x) && c"), (Names{"b.x", "a", "c"}));
    EXPECT_EQ(ExpParser::signalNames("1 + 2 > high"), Names());
    std::string const text = "# x\nb.x > 1 && (a == b.x)";
    std::string spelled;
    for (ExpParser::Mention const& each : ExpParser::mentions(text.c_str())) {
        EXPECT_EQ(text.substr(each.begin, each.name.size()), each.name);
        spelled += each.name + "@" + std::to_string(each.begin) + " ";
    }
    EXPECT_EQ(spelled, "b.x@4 a@16 b.x@21 ");
    EXPECT_EQ(ExpParser::signalNames("# b\na"), Names{"a"});
    EXPECT_EQ(ExpParser::signalNames("a&&b || 0x1F"), (Names{"a&&b", "x1F"}));
}

TEST_F(TextCheck, namesAreThoseOfAnyText) {
    EXPECT_EQ(ExpParser::signalNames("a b + ) c\nd"), (Names{"a", "b", "c", "d"}));
    std::string const name(2000, 'n');
    EXPECT_EQ(ExpParser::signalNames(("1 + " + name).c_str()), Names{name});
}

} // namespace
