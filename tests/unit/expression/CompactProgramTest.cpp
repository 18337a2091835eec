// The compact form of programs, held against the programs themselves.
#include "qzsignal/expression/CompactProgram.h"

#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <sstream>
#include <string>

namespace {

using qzsignal::CompactProgram;

double const infinity = std::numeric_limits<double>::infinity();
double const values[] = {0.0, -0.0, 1.0, -1.0, 2.5, -7e300, 5e-324, infinity, -infinity, std::nan("")};

// All that counts of a number: its value and a zero's sign.
std::string shown(double number) {
    if (std::isnan(number))
        return "nan";
    std::ostringstream text;
    text << std::hexfloat << number;
    return text.str();
}

class CompactProgramTest : public ExpressionTest {
protected:
    // What a program leaves on the stack, as it stands and in the compact form, has to be the same.
    static void expectLike(ExpressionProbe& program, std::string const& what) {
        CompactProgram compact(program.program);
        Stack<double> stack;
        stack.size(1);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(shown(compact.evaluate(stack)), shown(program.getValue())) << what;
            ASSERT_EQ(stack.depth(), 1U) << what;
            EXPECT_EQ(shown(stack.back()), shown(program.stack.back())) << what;
        }
    }

    static double valueOfCompact(std::string const& text) {
        ExpressionProbe const program(text);
        Stack<double> stack;
        stack.size(1);
        return CompactProgram(program.program).evaluate(stack);
    }

    // A program made by hand, from an expression that was emptied.
    static void expectLike(std::string const& what, std::function<void(ExpressionProbe&)> const& fill) {
        ExpressionProbe program("0");
        program.program.clear();
        fill(program);
        expectLike(program, what);
    }
};

TEST_F(CompactProgramTest, operandAloneIsItsValue) {
    PlainSignal x("x", -0.0, 1);
    for (char const* const text : {"x", "7.5", "high", "+(+x)"}) {
        ExpressionProbe program(text);
        expectLike(program, text);
    }
    EXPECT_EQ(valueOfCompact("7.5"), 7.5);
}

// An operand of an operation is a value by itself, or what another operation (here a negation) has left.
TEST_F(CompactProgramTest, operationsFindTheirOperandsWhereverTheyAre) {
    for (qzsignal::OperationRow const& row : qzsignal::operations) {
        if (row.operands == 0)
            continue;
        for (double const a : values) {
            for (double const b : values) {
                for (unsigned int computed = 0; computed < 4; ++computed) {
                    std::string const what =
                        row.name + (" " + shown(a)) + " " + shown(b) + ", " + std::to_string(computed);
                    expectLike(what, [&](ExpressionProbe& program) {
                        program.add(a);
                        if ((computed & 1) != 0)
                            program.add(&ExpParser::opneg);
                        if (row.operands == 2)
                            program.add(b);
                        if (row.operands == 2 && (computed & 2) != 0)
                            program.add(&ExpParser::opneg);
                        program.add(row.function);
                    });
                }
            }
        }
    }
}

TEST_F(CompactProgramTest, resultsThatWaitAreKept) {
    PlainSignal a("a", 2.0, 1), b("b", -3.0, 1), c("c", 5.0, 1);
    for (char const* const text :
         {"(a - b) / (c - a)", "a * b - (c * a - (b * c - (a / b - (c - a))))", "-a * (b - c) - (a - b) * -c",
          "a - (b - (c - a * b) * (a - c))", "(a < b || c > a) == (b < c && (a - b) * (c - a) > 1)",
          "((a - b) * (b - c) - (c - a) * (a + b)) / ((a - c) * (b + c) - (c - b) * (a - 1))"}) {
        ExpressionProbe program(text);
        expectLike(program, text);
    }
    EXPECT_EQ(valueOfCompact("(a - b) / (c - a) - (b - c) * (a - b)"), 5.0 / 3.0 + 40.0);
}

TEST_F(CompactProgramTest, nothingIsLeftBehindForTheNextTime) {
    PlainSignal x("x", 1.0, 1), y("y", 2.0, 1);
    ExpressionProbe const program("(x - y) * (x + y) - x");
    CompactProgram compact(program.program);
    Stack<double> stack;
    stack.size(1);
    EXPECT_EQ(compact.evaluate(stack), -4.0);
    x.set(4.0, 2);
    y.clear();
    EXPECT_EQ(compact.evaluate(stack), 0.0);
    y.set(-1.0, 3);
    EXPECT_EQ(compact.evaluate(stack), 11.0);
}

TEST_F(CompactProgramTest, signalsAreReadInOrderEachTimeTheyAreNamed) {
    // Its value is how many signals were read before.
    struct Counter : PlainSignal {
        Counter(char const* name, int& count) : PlainSignal(name), d_count(count) {}
        bool read(double& phys, unsigned long long&) override {
            phys = d_count++;
            return true;
        }
        int& d_count;
    };
    int count = 0;
    Counter x("x", count), y("y", count);
    EXPECT_EQ(valueOfCompact("1000 * x + (100 * y - (10 * x - y))"), 0 + 100 * 1 - (10 * 2 - 3));
    EXPECT_EQ(count, 4);
}

TEST_F(CompactProgramTest, signalWithoutAValueEndsTheProgram) {
    PlainSignal late("late"), x("x", 2.0, 1);
    ExpressionProbe const program("x + late + x");
    CompactProgram compact(program.program);
    Stack<double> stack;
    stack.size(1);
    Capture const errors(std::cerr);
    EXPECT_EQ(compact.evaluate(stack), 0.0);
    EXPECT_EQ(x.d_physReads, 1);
    EXPECT_EQ(late.d_physReads, 1);
    ASSERT_EQ(stack.depth(), 1U);
    EXPECT_EQ(stack.back(), 0.0);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(CompactProgramTest, debugNamesTheSignalWithoutAValue) {
    PlainSignal const late("late"), later("later");
    ExpressionProbe const program("1 + late + later");
    CompactProgram compact(program.program);
    Stack<double> stack;
    stack.size(1);
    ExpParser::debug = 1;
    Capture const errors(std::cerr);
    compact.evaluate(stack);
    EXPECT_EQ(errors.text(), "abort expression program due to (yet) invalid signal \"late\"\n");
}

// A signal that says that it has a value, and gives it only once.
TEST_F(CompactProgramTest, valueThatIsNotGivenIsZero) {
    struct Silent : PlainSignal {
        explicit Silent(char const* name) : PlainSignal(name) {}
        bool read(double& phys, unsigned long long&) override {
            if (++d_physReads == 1)
                phys = 5.0;
            return true;
        }
    } const silent("silent");
    ExpressionProbe const program("silent + 1");
    CompactProgram compact(program.program);
    Stack<double> stack;
    stack.size(1);
    EXPECT_EQ(compact.evaluate(stack), 6.0);
    EXPECT_EQ(compact.evaluate(stack), 1.0);
}

} // namespace
