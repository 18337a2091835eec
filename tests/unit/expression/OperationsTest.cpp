// The operations of programs, one by one, on operands given by hand.
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

namespace {

double const infinity = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

class Operations : public ExpressionTest {
protected:
    // Result of an operation on constants, the right one last.
    static double resultOf(ExpParser::Operation operation, std::initializer_list<double> operands) {
        ExpressionProbe expression("0");
        expression.program.clear();
        for (double const operand : operands)
            expression.add(operand);
        expression.add(operation);
        return expression.getValue();
    }

    struct Case {
        double a, b, result;
    };

    static void expectResults(ExpParser::Operation operation, std::initializer_list<Case> cases) {
        for (Case const& each : cases) {
            double const result = resultOf(operation, {each.a, each.b});
            if (std::isnan(each.result))
                EXPECT_TRUE(std::isnan(result)) << each.a << " " << each.b;
            else
                EXPECT_EQ(result, each.result) << each.a << " " << each.b;
        }
    }
};

TEST_F(Operations, tableNamesEachOnce) {
    std::set<std::string> names;
    for (qzsignal::OperationRow const& row : qzsignal::operations) {
        names.insert(row.name);
        EXPECT_EQ(qzsignal::findOperation(row.function), &row) << row.name;
    }
    EXPECT_EQ(std::size(qzsignal::operations), names.size());
    for (char const* const name :
         {"opdouble", "opsignal", "opnot", "opnz", "opneg", "opland", "oplor", "opdne",  "opdeq",   "opbne",
          "opbeq",    "opge",     "ople",  "opgt", "oplt",  "opexp",  "opdiv", "opmult", "opminus", "opplus"})
        EXPECT_EQ(names.count(name), 1U) << name;
    EXPECT_EQ(qzsignal::findOperation(nullptr), nullptr);
    EXPECT_EQ(qzsignal::findOperation(&ExpParser::clearstack), nullptr);
}

TEST_F(Operations, eachLeavesOneElementForThoseThatItTakes) {
    for (qzsignal::OperationRow const& row : qzsignal::operations) {
        if (row.operands == 0)
            continue;
        ExpressionProbe expression("1 + 2 + 3 + 4");
        expression.clearstack();
        for (int i = 0; i < 3; ++i)
            expression.stack.push(1.0);
        (expression.*row.function)();
        EXPECT_EQ(expression.stack.depth(), 4 - row.operands) << row.name;
        EXPECT_EQ(expression.stack.base[1], 1.0) << row.name << ": what is below stays";
    }
}

TEST_F(Operations, eachEndsTheProcessWithStatus4IfItLacksOperands) {
    for (qzsignal::OperationRow const& row : qzsignal::operations)
        for (unsigned int depth = 0; depth < row.operands; ++depth)
            EXPECT_EXIT(
                {
                    ExpressionProbe expression("1 + 2");
                    expression.clearstack();
                    for (unsigned int i = 0; i < depth; ++i)
                        expression.stack.push(1.0);
                    (expression.*row.function)();
                },
                testing::ExitedWithCode(4),
                "^Less than " + std::to_string(row.operands) + " elements on bool stack \\(" + std::to_string(depth) +
                    "\\)\n$")
                << row.name;
}

TEST_F(Operations, negationOfAConditionIsTrueForZeroAlone) {
    for (auto const& [a, result] : {std::pair(0.0, 1.0), {-0.0, 1.0}, {1.0, 0.0}, {-2.5, 0.0}, {5e-324, 0.0}})
        EXPECT_EQ(resultOf(&ExpParser::opnot, {a}), result) << a;
    EXPECT_EQ(resultOf(&ExpParser::opnot, {nan}), 0.0);
    EXPECT_EQ(resultOf(&ExpParser::opnot, {infinity}), 0.0);
}

TEST_F(Operations, numberAsAConditionKeepsItsValue) {
    for (double const a : {0.0, 1.0, -2.5, 7e300, infinity})
        EXPECT_EQ(resultOf(&ExpParser::opnz, {a}), a);
    EXPECT_TRUE(std::isnan(resultOf(&ExpParser::opnz, {nan})));
}

TEST_F(Operations, negativeHasTheOtherSign) {
    EXPECT_EQ(resultOf(&ExpParser::opneg, {2.5}), -2.5);
    EXPECT_EQ(resultOf(&ExpParser::opneg, {-2.5}), 2.5);
    EXPECT_TRUE(std::signbit(resultOf(&ExpParser::opneg, {0.0})));
}

TEST_F(Operations, andIsTrueIfNeitherIsZero) {
    expectResults(&ExpParser::opland,
                  {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 1}, {-2, 0.5, 1}, {nan, 1, 1}, {nan, 0, 0}, {-0.0, 1, 0}});
}

TEST_F(Operations, orIsFalseIfBothAreZero) {
    expectResults(&ExpParser::oplor,
                  {{0, 0, 0}, {0, 1, 1}, {1, 0, 1}, {1, 1, 1}, {-2, 0, 1}, {0, nan, 1}, {-0.0, 0, 0}});
}

TEST_F(Operations, numbersAreComparedExactly) {
    expectResults(&ExpParser::opdeq,
                  {{1, 1, 1}, {1, 2, 0}, {0.0, -0.0, 1}, {0.1 + 0.2, 0.3, 0}, {infinity, infinity, 1}});
    expectResults(&ExpParser::opdne, {{1, 1, 0}, {1, 2, 1}, {0.0, -0.0, 0}, {0.1 + 0.2, 0.3, 1}});
    expectResults(&ExpParser::opge, {{1, 1, 1}, {2, 1, 1}, {1, 2, 0}, {infinity, 1, 1}});
    expectResults(&ExpParser::ople, {{1, 1, 1}, {2, 1, 0}, {1, 2, 1}, {-infinity, 1, 1}});
    expectResults(&ExpParser::opgt, {{1, 1, 0}, {2, 1, 1}, {1, 2, 0}});
    expectResults(&ExpParser::oplt, {{1, 1, 0}, {2, 1, 0}, {1, 2, 1}});
}

TEST_F(Operations, notANumberDiffersFromEverythingAndComparesWithNothing) {
    for (double const other : {1.0, nan, infinity}) {
        for (auto const operation :
             {&ExpParser::opdeq, &ExpParser::opge, &ExpParser::ople, &ExpParser::opgt, &ExpParser::oplt}) {
            EXPECT_EQ(resultOf(operation, {nan, other}), 0.0);
            EXPECT_EQ(resultOf(operation, {other, nan}), 0.0);
        }
        EXPECT_EQ(resultOf(&ExpParser::opdne, {nan, other}), 1.0);
        EXPECT_EQ(resultOf(&ExpParser::opdne, {other, nan}), 1.0);
    }
}

TEST_F(Operations, comparisonOfConditionsTakesTheRightOneAsAConditionAndTheLeftOneAsItStands) {
    expectResults(&ExpParser::opbeq, {{0, 0, 1},
                                      {0, 1, 0},
                                      {1, 0, 0},
                                      {1, 1, 1},
                                      {1, 5, 1},
                                      {1, -0.5, 1},
                                      {5, 1, 0},
                                      {5, 5, 0},
                                      {0, -0.0, 1},
                                      {1, nan, 1},
                                      {nan, nan, 0}});
    expectResults(&ExpParser::opbne, {{0, 0, 0},
                                      {0, 1, 1},
                                      {1, 0, 1},
                                      {1, 1, 0},
                                      {1, 5, 0},
                                      {1, -0.5, 0},
                                      {5, 1, 1},
                                      {5, 5, 1},
                                      {0, -0.0, 0},
                                      {1, nan, 0},
                                      {nan, nan, 1}});
}

TEST_F(Operations, arithmeticIsThatOfDoubles) {
    expectResults(&ExpParser::opplus, {{1, 2, 3}, {0.1, 0.2, 0.1 + 0.2}, {infinity, -infinity, nan}});
    expectResults(&ExpParser::opminus, {{1, 2, -1}, {5, -2, 7}});
    expectResults(&ExpParser::opmult, {{3, -2, -6}, {1e300, 1e300, infinity}, {0, infinity, nan}});
    expectResults(&ExpParser::opdiv,
                  {{1, 4, 0.25}, {1, 0, infinity}, {-1, 0, -infinity}, {1, -0.0, -infinity}, {0, 0, nan}});
    expectResults(&ExpParser::opexp,
                  {{2, 10, 1024}, {2, -1, 0.5}, {-8, 2, 64}, {-1, 0.5, nan}, {0, 0, 1}, {nan, 0, 1}});
}

} // namespace
