// The two ways in which programs run: in the compact form, as plain expressions do, and as they stand, as those of
// derived classes do.
#include "qzsignal/input/InputSignal.h"
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

double const infinity = std::numeric_limits<double>::infinity();
double const values[] = {0.0, -0.0, 1.0, -1.0, 2.5, -7e300, 5e-324, infinity, -infinity, std::nan("")};

// All that counts of a number: its value, and the sign of a zero.
std::string shown(double number) {
    if (std::isnan(number))
        return "nan";
    std::ostringstream text;
    text << std::hexfloat << number;
    return text.str();
}

class Evaluation : public ExpressionTest {
protected:
    // An expression in both ways.
    struct Both {
        explicit Both(std::string const& text) : d_compact(text.c_str(), false), d_program(text) {}

        void expectSameValue() {
            for (int round = 0; round < 2; ++round)
                EXPECT_EQ(shown(d_compact.getValue()), shown(d_program.getValue())) << d_program.text;
        }

        ExpParser d_compact;
        ExpressionProbe d_program;
    };

    static double compactValueOf(char const* text) { return ExpParser(text, false).getValue(); }
};

TEST_F(Evaluation, operandAloneIsItsValue) {
    PlainSignal x("x", -0.0, 1);
    for (char const* const text : {"x", "7.5", "high", "+(+x)"})
        Both(text).expectSameValue();
    EXPECT_EQ(compactValueOf("7.5"), 7.5);
}

// An operand of an operation is a value by itself, or what another operation (here a negation) has left.
TEST_F(Evaluation, operationsFindTheirOperandsWhereverTheyAre) {
    std::vector<std::string> texts = {"-x",           "!x",           "--x",          "!!x",
                                      "(!x) == y",    "(!x) != y",    "(!x) == (!y)", "(!x) != (!y)",
                                      "(x < y) == x", "(x < y) != x", "(!x) == -y",   "(!x) != -y"};
    for (std::string const operation : {"+", "-", "*", "/", "<", "<=", ">", ">=", "==", "!=", "&&", "||"})
        for (std::string const left : {"x", "-x"})
            for (std::string const right : {"y", "-y"})
                texts.push_back(left + " " + operation + " " + right);
    PlainSignal x("x"), y("y");
    for (std::string const& text : texts) {
        Both both(text);
        for (double const a : values) {
            for (double const b : values) {
                SCOPED_TRACE(shown(a) + " " + shown(b));
                x.set(a, 1);
                y.set(b, 1);
                both.expectSameValue();
            }
        }
    }
    x.set(5.0, 1);
    y.set(2.0, 1);
    EXPECT_EQ(compactValueOf("x - -y"), 7.0);
    EXPECT_EQ(compactValueOf("-x / -y"), 2.5);
}

TEST_F(Evaluation, resultsThatWaitAreKept) {
    PlainSignal a("a", 2.0, 1), b("b", -3.0, 1), c("c", 5.0, 1);
    for (char const* const text :
         {"(a - b) / (c - a)", "a * b - (c * a - (b * c - (a / b - (c - a))))", "-a * (b - c) - (a - b) * -c",
          "a - (b - (c - a * b) * (a - c))", "(a < b || c > a) == (b < c && (a - b) * (c - a) > 1)",
          "((a - b) * (b - c) - (c - a) * (a + b)) / ((a - c) * (b + c) - (c - b) * (a - 1))"})
        Both(text).expectSameValue();
    EXPECT_EQ(compactValueOf("(a - b) / (c - a) - (b - c) * (a - b)"), 5.0 / 3.0 + 40.0);
}

TEST_F(Evaluation, nothingIsLeftForTheNextEvaluation) {
    PlainSignal x("x", 1.0, 1), y("y", 2.0, 1);
    ExpParser expression("(x - y) * (x + y) - x", false);
    EXPECT_EQ(expression.getValue(), -4.0);
    x.set(4.0, 2);
    y.clear();
    EXPECT_EQ(expression.getValue(), 0.0);
    y.set(-1.0, 3);
    EXPECT_EQ(expression.getValue(), 11.0);
}

// While it is read, it writes another signal, as another process may at any time.
class Meddler : public PlainSignal {
public:
    Meddler(char const* name, BaseSignal& victim) : PlainSignal(name, 0.0, 1), d_victim(victim) {}
    bool read(double& phys, unsigned long long& timestamp) override {
        d_victim.write(9, 2);
        return PlainSignal::read(phys, timestamp);
    }

private:
    BaseSignal& d_victim;
};

TEST_F(Evaluation, signalOfAnOwnClassHasOneValueInAnEvaluation) {
    InputSignal own("AI.1");
    Meddler const meddler("meddler", own);
    char const* const text = "10 * AI.1 + meddler + AI.1";
    own.write(1, 1);
    ExpParser expression(text, false);
    EXPECT_EQ(expression.getValue(), 11.0);
    EXPECT_EQ(expression.getValue(), 99.0) << "read in every evaluation";
}

TEST_F(Evaluation, signalOfAnyOtherClassIsReadForEachMention) {
    struct DerivedInput : InputSignal {
        using InputSignal::InputSignal;
    } derived("AI.1");
    Meddler const meddler("meddler", derived);
    derived.write(1, 1);
    EXPECT_EQ(compactValueOf("10 * AI.1 + meddler + AI.1"), 19.0);
}

TEST_F(Evaluation, programAsItStandsReadsASignalForEachMention) {
    InputSignal own("AI.1");
    Meddler const meddler("meddler", own);
    char const* const text = "10 * AI.1 + meddler + AI.1";
    ExpressionProbe derived(text);
    ExpParser changed(text, false), plain(text, false);
    changed.add(&ExpParser::opnz);
    own.write(1, 1);
    EXPECT_EQ(derived.getValue(), 19.0);
    own.write(1, 1);
    EXPECT_EQ(changed.getValue(), 19.0);

    Capture const output(std::cout), errors(std::cerr);
    for (int* const debug : {&ExpParser::debug, &BaseSignal::debug}) {
        own.write(1, 1);
        *debug = 1;
        EXPECT_EQ(plain.getValue(), 19.0) << "debug output shows each read";
        *debug = 0;
    }
    own.write(1, 1);
    EXPECT_EQ(plain.getValue(), 11.0);
}

TEST_F(Evaluation, signalsAreReadInOrderEachTimeTheyAreNamed) {
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
    EXPECT_EQ(compactValueOf("1000 * x + (100 * y - (10 * x - y))"), 0 + 100 * 1 - (10 * 2 - 3));
    EXPECT_EQ(count, 4);
}

TEST_F(Evaluation, signalWithoutAValueEndsTheProgram) {
    PlainSignal late("late"), x("x", 2.0, 1);
    Capture const errors(std::cerr);
    EXPECT_EQ(compactValueOf("x + late + x"), 0.0);
    EXPECT_EQ(x.d_physReads, 1);
    EXPECT_EQ(late.d_physReads, 1);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(Evaluation, debugNamesTheFirstSignalWithoutAValue) {
    PlainSignal const late("late"), later("later");
    Both both("1 + late + later");
    ExpParser::debug = 1;
    Capture const errors(std::cerr);
    both.expectSameValue();
    std::string const line = "abort expression program due to (yet) invalid signal \"late\"\n";
    EXPECT_EQ(errors.text(), line + line + line + line);
}

// A signal that says that it has a value, and gives it only once.
TEST_F(Evaluation, valueThatIsNotGivenIsZero) {
    struct Silent : PlainSignal {
        explicit Silent(char const* name) : PlainSignal(name) {}
        bool read(double& phys, unsigned long long&) override {
            if (++d_physReads == 1)
                phys = 5.0;
            return true;
        }
    } const silent("silent");
    ExpParser expression("silent + 1", false);
    EXPECT_EQ(expression.getValue(), 6.0);
    EXPECT_EQ(expression.getValue(), 1.0);
}

TEST_F(Evaluation, resultIsLeftOnTheStack) {
    PlainSignal x("x", 0.0, 1), late("late");
    for (char const* const text : {"x", "2", "x + 1 > 0", "late", "1 + late"}) {
        ExpParser expression(text, false);
        expression.getValue();
        expression.opnz(); // ends the process if there is nothing on the stack
        EXPECT_EXIT(expression.opplus(), testing::ExitedWithCode(4), "^Less than 2 elements on bool stack \\(1\\)\n$")
            << text;
    }
}

} // namespace
