// Texts of unusual size and depth.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/TestSignals.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <iostream>

namespace {

class ExpressionLimits : public testing::Test {
protected:
    ExpressionLimits() { d_signals["a"].d_value = 3.0; }

    TestSignals d_signals;
    Capture d_errors{std::cerr};
};

std::string repeated(std::string const& part, std::size_t times) {
    std::string text;
    text.reserve(part.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        text += part;
    return text;
}

} // namespace

// The parser keeps up to 10000 states, of which a text of n brackets takes n and a few.
TEST_F(ExpressionLimits, bracketsMayBeNestedThousandsDeep) {
    CompiledExpression expression(repeated("(", 9990) + "a" + repeated(")", 9990));
    EXPECT_TRUE(expression.accepted());
    EXPECT_EQ(d_errors.text(), "");
    EXPECT_EQ(print(expression.postfix()), "a");
    EXPECT_EQ(expression.getValue(), 3.0);
}

TEST_F(ExpressionLimits, bracketsNestedDeeperExhaustTheParser) {
    std::string const text = repeated("(", 10001) + "a" + repeated(")", 10001);
    CompiledExpression const expression(text);
    EXPECT_FALSE(expression.accepted());
    EXPECT_EQ(d_errors.text(), "[ERROR] expression parser: line 1 memory exhausted at '(('\n"
                               "[ERROR] parser error in ExpParser\n" +
                                   text + "\n\n");
}

TEST_F(ExpressionLimits, signsMayBeRepeatedThousandsOfTimes) {
    CompiledExpression minus(repeated("-", 9990) + "a");
    EXPECT_EQ(minus.postfix().size(), 9991U);
    EXPECT_EQ(minus.getValue(), 3.0);
    CompiledExpression no(repeated("!", 9991) + "a");
    EXPECT_EQ(no.postfix().size(), 9993U);
    EXPECT_EQ(no.getValue(), 0.0);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(ExpressionLimits, openOperandsMayBeThousands) {
    // No sum is done before the last operand is read: each waits in three states.
    std::string const text = repeated("1 + (", 3300) + "a" + repeated(")", 3300);
    CompiledExpression expression(text);
    EXPECT_EQ(expression.getValue(), 3303.0);
    EXPECT_EQ(compactValue(text), 3303.0);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(ExpressionLimits, openResultsMayBeThousands) {
    std::string const text = repeated("a * a - (", 2400) + "a" + repeated(")", 2400);
    CompiledExpression expression(text);
    EXPECT_EQ(expression.getValue(), 3.0);
    EXPECT_EQ(compactValue(text), 3.0);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(ExpressionLimits, chainsOfOperatorsHaveNoLimit) {
    std::string const text = "a" + repeated(" + a * 2", 5000) + " == 30003 && a";
    CompiledExpression expression(text);
    EXPECT_EQ(expression.getValue(), 1.0);
    EXPECT_EQ(compactValue(text), 1.0);
    EXPECT_EQ(d_errors.text(), "");
}

TEST_F(ExpressionLimits, skippedTextMayBeLong) {
    CompiledExpression expression("#" + repeated(" comment", 10000) + "\n" + repeated(" \n", 20000) +
                                  repeated(" \t", 30000) + "a " + repeated("^", 30000) + " + 1\n#" +
                                  repeated("x", 40000));
    EXPECT_EQ(d_errors.text(), "");
    EXPECT_EQ(print(expression.postfix()), "a 1 opplus");
    EXPECT_EQ(expression.getValue(), 4.0);
}

TEST_F(ExpressionLimits, numbersMayHaveThousandsOfDigits) {
    CompiledExpression expression("0." + repeated("0", 40000) + "1e" + "40001 + " + repeated("9", 20000));
    EXPECT_EQ(d_errors.text(), "");
    EXPECT_EQ(print(expression.postfix()), "1 inf opplus");
}

TEST_F(ExpressionLimits, namesMayHave1023Characters) {
    std::string const name = "n." + repeated("x", 1021);
    d_signals[name].d_value = 8.0;
    CompiledExpression expression(name + " + 1");
    EXPECT_EQ(expression.getValue(), 9.0);
    EXPECT_EQ(expression.postfix().at(0).d_name, name);
}

TEST_F(ExpressionLimits, longerNamesAreErrors) {
    std::string const text = "1 + " + repeated("x", 1024);
    CompiledExpression const expression(text);
    EXPECT_FALSE(expression.accepted());
    EXPECT_EQ(BaseSignal::getInstance(text.c_str() + 4), nullptr);
    EXPECT_EQ(d_errors.text(), messagesFor(text, reference::read(text)));
}

// Wherever in the text it happens, also where a scanner that reads in pieces has just read one.
TEST_F(ExpressionLimits, errorsShowTheirWordsAnywhereInALongText) {
    for (std::size_t const before : {0,    1,    2,     3,     100,   8185,  8186,  8187,  8188,  8189,  8190, 8191,
                                     8192, 8193, 16379, 16380, 16381, 16382, 16383, 16384, 16385, 32767, 40000}) {
        for (char const* const bad : {"a b", "a\t\t= CAN.Speed", "5 )", "k *", "(a", "a <= # <"}) {
            std::string const text = repeated(" ", before) + bad;
            reference::Reading const reading = reference::read(text);
            CompiledExpression const expression(text);
            EXPECT_EQ(d_errors.take(), messagesFor(text, reading)) << bad << " after " << before;
        }
    }
}

TEST_F(ExpressionLimits, nullIsAnEmptyText) {
    class FromNull : public ExpParser {
    public:
        FromNull() : ExpParser(nullptr, false) {}
    };
    FromNull const expression;
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
    EXPECT_EQ(d_errors.text(), messagesFor("", reference::read("")));
}
