// The program that each rule of the grammar emits, and how its conflicts are settled.
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

class Grammar : public ExpressionTest {
protected:
    static void expectPrograms(std::initializer_list<std::pair<char const*, char const*>> cases) {
        for (auto const& [text, program] : cases)
            EXPECT_EQ(programOf(text), program) << text;
    }

    static void expectSyntaxErrors(std::initializer_list<char const*> texts) {
        for (char const* const text : texts) {
            Capture const errors(std::cerr);
            ExpressionProbe const expression(text);
            EXPECT_FALSE(expression.listed()) << text;
            EXPECT_NE(errors.text().find(" syntax error at '"), std::string::npos) << text;
        }
    }
};

TEST_F(Grammar, eachRuleEmitsItsInstruction) {
    expectPrograms({
        {"a && b", "a opnz b opnz opland"},
        {"a", "a"},
        {"a != b", "a b opdne"},
        {"a <= b", "a b ople"},
        {"a < b", "a b oplt"},
        {"a >= b", "a b opge"},
        {"a > b", "a b opgt"},
        {"a == b", "a b opdeq"},
        {"!a", "a opnz opnot"},
        {"a || b", "a opnz b opnz oplor"},
        {"(a < 1) == (b < 2)", "a 1 oplt b 2 oplt opbeq"},
        {"(a < 1) != (b < 2)", "a 1 oplt b 2 oplt opbne"},
        {"(a < b)", "a b oplt"},
        {"1.5", "1.5"},
        {"CAN.Speed", "CAN.Speed"},
        {"a + b", "a b opplus"},
        {"a - b", "a b opminus"},
        {"a * b", "a b opmult"},
        {"a / b", "a b opdiv"},
        {"-a", "a opneg"},
        {"+a", "a"},
        {"(a)", "a"},
        {"released", "0"},
        {"pressed", "1"},
        {"pressed_long", "2"},
        {"high", "1"},
        {"low", "0"},
    });
}

// The numbers by which the trace calls the rules.
TEST_F(Grammar, rulesAreInOrder) {
    std::pair<char const*, std::vector<std::string>> const cases[] = {
        {"1 < 2", {"17", "17", "6", "1"}},
        {"1", {"17", "2"}},
        {"1 != 2", {"17", "17", "4", "1"}},
        {"1 <= 2", {"17", "17", "5", "1"}},
        {"1 >= 2", {"17", "17", "7", "1"}},
        {"1 > 2", {"17", "17", "8", "1"}},
        {"1 == 2", {"17", "17", "9", "1"}},
        {"!1", {"17", "3", "10", "1"}},
        {"1 || 2", {"17", "3", "17", "3", "11", "1"}},
        {"1 && 2", {"17", "3", "17", "3", "12", "1"}},
        {"a", {"18", "2"}},
        {"(1 < 2) == 3", {"17", "17", "6", "15", "17", "3", "13", "1"}},
        {"(1 < 2) != 3", {"17", "17", "6", "15", "17", "3", "14", "1"}},
        {"1 + 2", {"17", "17", "19", "2"}},
        {"1 - 2", {"17", "17", "20", "2"}},
        {"1 * 2", {"17", "17", "21", "2"}},
        {"1 / 2", {"17", "17", "22", "2"}},
        {"-1", {"17", "23", "2"}},
        {"+1", {"17", "24", "2"}},
        {"(1)", {"17", "25", "2"}},
        {"released", {"26", "16", "2"}},
        {"pressed", {"27", "16", "2"}},
        {"pressed_long", {"28", "16", "2"}},
        {"high", {"29", "16", "2"}},
        {"low", {"30", "16", "2"}},
    };
    expdebug = 1;
    for (auto const& [text, rules] : cases) {
        ErrorOutput output;
        ExpressionProbe const expression(text);
        std::string const trace = output.take();
        EXPECT_EQ(allBetween(trace, "Reducing stack by rule ", " (line "), rules) << text;
    }
}

TEST_F(Grammar, operandsComeBeforeTheirOperatorLeftOneFirst) {
    expectPrograms({
        {"a + b * k", "a b k opmult opplus"},
        {"a * b + k", "a b opmult k opplus"},
        {"a < b && k", "a b oplt k opnz opland"},
    });
}

TEST_F(Grammar, operatorsOfOneLevelGroupFromTheLeft) {
    expectPrograms({
        {"a - b - k", "a b opminus k opminus"},
        {"a - b + k", "a b opminus k opplus"},
        {"a / b / k", "a b opdiv k opdiv"},
        {"a / b * k", "a b opdiv k opmult"},
        {"a && b || k", "a opnz b opnz opland k opnz oplor"},
        {"a || b && k", "a opnz b opnz oplor k opnz opland"},
    });
}

TEST_F(Grammar, parenthesesGroupAndEmitNothing) {
    expectPrograms({
        {"(a + b) * k", "a b opplus k opmult"},
        {"a - (b - k)", "a b k opminus opminus"},
        {"((a))", "a"},
        {"(a) && ((b))", "a opnz b opnz opland"},
        {"a || (b && k)", "a opnz b opnz k opnz opland oplor"},
        {"(a) < (b)", "a b oplt"},
    });
}

TEST_F(Grammar, plainFormulaIsNotMadeACondition) {
    expectPrograms({{"a + 1", "a 1 opplus"}, {"(a)", "a"}, {"x && 1", "x opnz 1 opnz opland"}});
}

TEST_F(Grammar, operatorThatContinuesANumberComesBeforeItsUseAsACondition) {
    expectPrograms({
        {"!a == b", "a b opdeq opnot"},
        {"!a + 1", "a 1 opplus opnz opnot"},
        {"!a < b", "a b oplt opnot"},
        {"a == b", "a b opdeq"},
    });
}

TEST_F(Grammar, negationOfAConditionBindsTighterThanAndOr) {
    expectPrograms({
        {"!a && b", "a opnz opnot b opnz opland"},
        {"!a || b", "a opnz opnot b opnz oplor"},
        {"!!a", "a opnz opnot opnot"},
        {"!(a && b)", "a opnz b opnz opland opnot"},
        {"!(a) == (b)", "a b opdeq opnot"},
        {"!(a < b) == k", "a b oplt opnot k opnz opbeq"},
    });
}

TEST_F(Grammar, resultsOfComparisonsAreComparedAsConditions) {
    expectPrograms({
        {"a == b == k", "a b opdeq k opnz opbeq"},
        {"a == b != k", "a b opdeq k opnz opbne"},
        {"a < b != k < d", "a b oplt k d oplt opbne"},
        {"(a < b) == k", "a b oplt k opnz opbeq"},
    });
    expectSyntaxErrors({"a < b < k", "a == b < k == d > 1 < 2", "a <= b >= k"});
}

TEST_F(Grammar, conditionIsNoNumber) {
    expectSyntaxErrors({"(a < b) + 1", "a == (b < k)", "- ! a", "1 + !a", "-(a && b)", "(a && b) * 2", "!a == !b"});
}

TEST_F(Grammar, minusBeforeAnExpBindsTighterThanProducts) {
    expectPrograms({
        {"-a * b", "a opneg b opmult"},
        {"-3 * 2", "3 opneg 2 opmult"},
        {"a - -b", "a b opneg opminus"},
        {"a * -b", "a b opneg opmult"},
        {"--a", "a opneg opneg"},
        {"-(a + b)", "a b opplus opneg"},
        {"+-+a", "a opneg"},
        {"+a * b", "a b opmult"},
        {"+a - b", "a b opminus"},
    });
    EXPECT_EQ(valueOf("-3 * 2"), -6.0);
}

TEST_F(Grammar, knowsNoPower) {
    expectSyntaxErrors({"a ^ b", "2 ^ 3"});
    expectPrograms({{"a^b", "a^b"}});
}

TEST_F(Grammar, whatIsNoExpressionIsASyntaxError) {
    expectSyntaxErrors({"",   " ",  "\n\n", "# comment", "a b",   "a = b", "a,", ",",    "1 2",  "(a",
                        "a)", "()", "a +",  "* a",       "a && ", "&& a",  "!",  "a\nb", "0x1F", "a ! b"});
}

TEST_F(Grammar, blankAndCommentLinesMaySurroundTheExpression) {
    expectPrograms({
        {"\n # speed limit\n\ta + 1\n\n# end\n", "a 1 opplus"},
        {"# speed limit\na", "a"},
        {"a\r", "a"},
    });
}

TEST_F(Grammar, numbersAreReadToTheLastBit) {
    std::pair<char const*, double> const cases[] = {
        {"1.5E-3", 1.5e-3}, {".5", 0.5},
        {"1.", 1.0},        {"1e5", 1e5},
        {"0.1", 0.1},       {"1e999", std::numeric_limits<double>::infinity()},
        {"010", 10.0},      {"123456789012345678901234567890", 123456789012345678901234567890.0},
        {"1e-999", 0.0},    {"4.9e-324", 4.9e-324},
    };
    for (auto const& [text, value] : cases)
        EXPECT_EQ(valueOf(text), value) << text;
}

} // namespace
