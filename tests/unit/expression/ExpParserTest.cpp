// Expressions over signals: compilation, values, triggers and what they report of their signals.
#include "qzsignal/expression/ExpParser.h"

#include "qzsignal/input/InputSignal.h"
#include "tests/support/InputMessages.h"
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>

namespace {

static_assert(std::has_virtual_destructor<ExpParser>::value && !std::is_copy_constructible<ExpParser>::value &&
                  !std::is_copy_assignable<ExpParser>::value,
              "");
static_assert(std::is_same<ExpParser::Operation, void (ExpParser::*)()>::value, "");
static_assert(std::is_same<decltype(ExpressionProbe::program)::value_type,
                           std::pair<void (ExpParser::*)(), ExpParser::value_t>>::value,
              "");

class ExpParserTest : public ExpressionTest {};

// Compilation

TEST_F(ExpParserTest, acceptedTextIsListed) {
    Capture const output(std::cout), errors(std::cerr);
    {
        ExpressionProbe const first("1"), second("2 > 1", true);
        EXPECT_EQ(ExpParser::allExpParsers,
                  (std::set<ExpParser*>{const_cast<ExpressionProbe*>(&first), const_cast<ExpressionProbe*>(&second)}));
        EXPECT_EQ(first.text, "1");
        EXPECT_FALSE(first.edgeTrigger);
        EXPECT_TRUE(second.edgeTrigger);
        EXPECT_FALSE(second.lastTrigger);
        EXPECT_FALSE(second.written);
        EXPECT_NE(first.lexer, nullptr);
    }
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(ExpParserTest, textThatIsNotAcceptedIsReportedAndNotListed) {
    Capture const output(std::cout), errors(std::cerr);
    ExpressionProbe const expression("a +\n* b");
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
    EXPECT_EQ(errors.text(), "[ERROR] expression parser: line 1 syntax error at '+\n'\n"
                             "[ERROR] parser error in ExpParser\n"
                             "a +\n* b\n\n");
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(expression.text, "a +\n* b");
    EXPECT_EQ(expression.printed(), "a") << "what was emitted before the error";
}

TEST_F(ExpParserTest, nullIsAnEmptyText) {
    Capture const errors(std::cerr);
    ExpParser const expression(nullptr, false);
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
    EXPECT_EQ(errors.text(), "[ERROR] expression parser: line 1 syntax error at ''\n"
                             "[ERROR] parser error in ExpParser\n\n\n");
}

TEST_F(ExpParserTest, debugShowsTheTextAndThatItWasParsed) {
    ExpParser::debug = 1;
    Capture const output(std::cout);
    ErrorOutput errors;
    ExpressionProbe const expression("1 + 2");
    EXPECT_EQ(output.text(), "[DEBUG] parsing 1 + 2\n\n[DEBUG] parsed\n");
    EXPECT_EQ(errors.take(), "");
    EXPECT_EQ(expdebug, 0);
}

TEST_F(ExpParserTest, debugShowsOnlyTheTextIfItIsNotAccepted) {
    ExpParser::debug = -1;
    Capture const output(std::cout), errors(std::cerr);
    ExpressionProbe const expression("1 2");
    EXPECT_EQ(output.text(), "[DEBUG] parsing 1 2\n\n");
}

TEST_F(ExpParserTest, debugAboveTwoShowsTheProgram) {
    PlainSignal const x("x");
    Capture const output(std::cout);
    for (int const level : {2, 3}) {
        ExpParser::debug = level;
        ErrorOutput errors;
        ExpressionProbe const expression("x > 3");
        std::string const trace = errors.take();
        EXPECT_EQ(trace.find("opsignal x\nopdouble 3\nopgt\n") != std::string::npos, level == 3) << trace;
    }
    EXPECT_EQ(output.text(), "[DEBUG] parsing x > 3\n\n[DEBUG] parsed\n[DEBUG] parsing x > 3\n\n[DEBUG] parsed\n");
}

TEST_F(ExpParserTest, debugAboveOneTracesParserAndScanner) {
    ExpParser::debug = 2;
    Capture const output(std::cout);
    ErrorOutput errors;
    ExpressionProbe const expression("1");
    std::string const trace = errors.take();
    EXPECT_EQ(output.text(), "[DEBUG] parsing 1\n\n[DEBUG] parsed\n");
    EXPECT_EQ(trace.find("Starting parse\nEntering state 0\n"), 0U);
    EXPECT_NE(trace.find("Reading a token: --accepting rule at line "), std::string::npos) << trace;
    EXPECT_EQ(expdebug, 1);
}

TEST_F(ExpParserTest, traceOfTheParserStaysOnOnceItIs) {
    ErrorOutput errors;
    Capture const output(std::cout);
    ExpParser::debug = 2;
    ExpressionProbe const traced("1");
    ExpParser::debug = 0;
    ExpressionProbe const other("2");
    EXPECT_EQ(expdebug, 1);
    std::string const trace = errors.take();
    std::size_t const second = trace.rfind("Starting parse\n");
    EXPECT_GT(second, 0U);
    EXPECT_EQ(trace.find("--accepting", second), std::string::npos) << "each scanner has a switch of its own";
}

TEST_F(ExpParserTest, nameOfARegisteredSignalRefersToIt) {
    PlainSignal speed("CAN.Speed", 0x8000000100000123);
    ExpressionProbe const expression("CAN.Speed");
    ASSERT_EQ(expression.program.size(), 1U);
    EXPECT_TRUE(expression.program[0].first == &ExpParser::opsignal);
    EXPECT_EQ(expression.program[0].second.signal, &speed);
    EXPECT_EQ(expression.program[0].second.name, "CAN.Speed");
    EXPECT_EQ(expression.signalMessageIds, std::set<unsigned long long>{0x8000000100000123});
}

TEST_F(ExpParserTest, unknownNameOfAnInputBecomesThatInput) {
    ExpressionProbe expression("DI.3 == high");
    auto* const input = dynamic_cast<InputSignal*>(BaseSignal::getInstance("DI.3"));
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(expression.program[0].second.signal, input);
    EXPECT_EQ(expression.signalMessageIds, std::set<unsigned long long>{0x0800000000030001});
    EXPECT_FALSE(expression.getTrigger());
    InputSignal::decodeMessage(gpioMessage(3, 1, 0x0005));
    EXPECT_TRUE(expression.getTrigger());
}

TEST_F(ExpParserTest, anyOtherUnknownNameBecomesAnInputWithoutAValue) {
    Capture const output(std::cout), errors(std::cerr);
    ExpressionProbe expression("Unknown + 1"), other("Unknown");
    EXPECT_TRUE(expression.listed());
    EXPECT_NE(dynamic_cast<InputSignal*>(BaseSignal::getInstance("Unknown")), nullptr);
    EXPECT_EQ(other.program[0].second.signal, BaseSignal::getInstance("Unknown")) << "made once";
    EXPECT_EQ(expression.signalMessageIds, std::set<unsigned long long>{0});
    EXPECT_EQ(expression.getValue(), 0.0);
    EXPECT_FALSE(expression.isWritten());
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(ExpParserTest, signalsOutliveTheExpression) {
    { ExpressionProbe const expression("Unknown"); }
    EXPECT_NE(BaseSignal::getInstance("Unknown"), nullptr);
}

TEST_F(ExpParserTest, signalNamedTwiceGivesTwoInstructionsAndOneMessage) {
    PlainSignal x("x", 2.0, 1, 7), y("y", 3.0, 1, 5), z("z", 4.0, 1, 7);
    ExpressionProbe expression("x * x + y + z");
    EXPECT_EQ(expression.printed(), "x x opmult y opplus z opplus");
    EXPECT_EQ(expression.signalMessageIds, (std::set<unsigned long long>{5, 7}));
    EXPECT_EQ(expression.getValue(), 11.0);
}

TEST_F(ExpParserTest, clearDeletesAllThatAreListed) {
    struct Counted : ExpParser {
        explicit Counted(int& deleted) : ExpParser("1", false), d_deleted(deleted) {}
        ~Counted() override { ++d_deleted; }
        int& d_deleted;
    };
    int deleted = 0;
    new Counted(deleted);
    new Counted(deleted);
    auto* const third = new Counted(deleted);
    delete third;
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(ExpParser::allExpParsers.size(), 2U);
    ExpParser::clear();
    EXPECT_EQ(deleted, 3);
    EXPECT_TRUE(ExpParser::allExpParsers.empty());
    ExpParser::clear();
}

TEST_F(ExpParserTest, errorSaysWhyATextWasNotAccepted) {
    Capture const errors(std::cerr);
    ExpParser const good("1 + 2", false), bad("1 +\n  2 3", false);
    EXPECT_FALSE(good.error());
    ASSERT_TRUE(bad.error());
    EXPECT_EQ(bad.error()->message, "syntax error");
    EXPECT_EQ(bad.error()->context, "+\n");
    EXPECT_EQ(bad.error()->line, 1);
    EXPECT_EQ(bad.error()->begin, 3U);
    EXPECT_EQ(bad.error()->end, 4U);
    EXPECT_EQ(errors.text().find("[ERROR] " + bad.error()->text() + "\n"), 0U);
}

// The program as text

TEST_F(ExpParserTest, programIsPrintedAnInstructionALine) {
    PlainSignal const speed("CAN.Speed");
    ExpressionProbe const expression("-CAN.Speed * 0.1 >= 1e300 && !high");
    std::ostringstream out;
    out << std::hex << std::showpos;
    expression.print(out);
    EXPECT_EQ(out.str(), "opsignal CAN.Speed\nopneg\nopdouble 0.1\nopmult\nopdouble 1e+300\nopge\n"
                         "opdouble 1\nopnz\nopnot\nopland\n");
}

TEST_F(ExpParserTest, operationsThatAreNoneOfItsOwnArePrintedWithoutTheirNames) {
    struct Extended : ExpressionProbe {
        Extended() : ExpressionProbe("1") {}
        void opanswer() { stack.push(42.0); }
    };
    PlainSignal x("x");
    Extended expression;
    expression.add(static_cast<ExpParser::Operation>(&Extended::opanswer));
    expression.add({nullptr, {&x, "x"}});
    std::ostringstream out;
    expression.print(out);
    EXPECT_EQ(out.str(), "opdouble 1\nunknown\nnone x\n");
}

TEST_F(ExpParserTest, instructionsAreThoseOfTheProgram) {
    PlainSignal x("x");
    ExpressionProbe const expression("x + 2");
    EXPECT_EQ(&expression.instructions(), &expression.program);
    for (qzsignal::OperationRow const& row : qzsignal::operations)
        EXPECT_STREQ(ExpParser::nameOf(row.function), row.name);
}

// The program and its stack

TEST_F(ExpParserTest, operandHoldsAConstantOrASignal) {
    ExpParser::value_t operand;
    EXPECT_EQ(operand.value, 0.0);
    EXPECT_EQ(operand.name, "");
    PlainSignal signal("x");
    EXPECT_EQ((ExpParser::value_t{&signal, "x"}.signal), &signal);
    EXPECT_EQ((ExpParser::value_t{2.5, ""}.value), 2.5);
    EXPECT_EQ(static_cast<void*>(&operand.value), static_cast<void*>(&operand.signal)) << "the two overlap";
}

TEST_F(ExpParserTest, onlyReferencesToSignalsHaveNames) {
    ExpressionProbe const expression("!(x + 1 > low)");
    for (auto const& [operation, operand] : expression.program)
        EXPECT_EQ(operand.name, operation == &ExpParser::opsignal ? "x" : "");
}

TEST_F(ExpParserTest, stackIsSizedByTheProgramUpToItsLastPush) {
    std::pair<char const*, unsigned int> const cases[] = {{"1", 1},  {"1 + 2", 2},         {"1 + 2 + 3", 4},
                                                          {"-x", 1}, {"!(1 < 2) == 3", 5}, {"1 + 2 + 3 + x", 6}};
    for (auto const& [text, capacity] : cases) {
        ExpressionProbe const expression(text);
        EXPECT_EQ(expression.stack.capacity, capacity) << text;
        EXPECT_EQ(expression.stack.depth(), 0U);
    }
    Capture const errors(std::cerr);
    ExpressionProbe const empty("");
    EXPECT_EQ(empty.stack.capacity, 0U);
    EXPECT_EQ(empty.stack.base, nullptr);
}

TEST_F(ExpParserTest, addAppendsAnInstruction) {
    PlainSignal x("x", 3.0, 1);
    ExpressionProbe expression("1");
    expression.add(2.5);
    EXPECT_EQ(expression.stack.capacity, 2U);
    expression.add(&ExpParser::opplus);
    EXPECT_EQ(expression.stack.capacity, 2U) << "nothing is pushed";
    expression.add(std::string("x"));
    EXPECT_EQ(expression.stack.capacity, 4U);
    expression.add({&ExpParser::opmult, ExpParser::value_t()});
    EXPECT_EQ(expression.printed(), "1 2.5 opplus x opmult");
    EXPECT_EQ(expression.getValue(), 10.5);
}

TEST_F(ExpParserTest, anyInstructionThatPushesFindsRoomOnTheStack) {
    PlainSignal x("x", 3.0, 1);
    ExpressionProbe expression("1");
    for (int i = 0; i < 1000; ++i) {
        expression.add({&ExpParser::opdouble, {2.0, ""}});
        expression.add({&ExpParser::opsignal, {&x, ""}});
        expression.add(&ExpParser::opdouble);
    }
    for (int i = 0; i < 3000; ++i)
        expression.add({&ExpParser::opplus, {}});
    EXPECT_GE(expression.stack.capacity, 3001U);
    EXPECT_EQ(expression.getValue(), 5001.0);
}

TEST_F(ExpParserTest, operationOfADerivedClassFindsRoomOnTheStack) {
    struct Extended : ExpressionProbe {
        Extended() : ExpressionProbe("1") {}
        void opanswer() { stack.push(42.0); }
    };
    Extended expression;
    for (int i = 0; i < 1000; ++i)
        expression.add(static_cast<ExpParser::Operation>(&Extended::opanswer));
    for (int i = 0; i < 1000; ++i)
        expression.add(&ExpParser::opplus);
    EXPECT_EQ(expression.getValue(), 42001.0);
}

// A plain expression, unlike one of a derived class, does not run its program as it stands.
TEST_F(ExpParserTest, whatIsAddedToAnExpressionRuns) {
    PlainSignal x("x", 3.0, 1);
    ExpParser expression("x", false);
    EXPECT_EQ(expression.getValue(), 3.0);
    expression.add(2.5);
    expression.add(&ExpParser::opplus);
    EXPECT_EQ(expression.getValue(), 5.5);
    expression.add(std::string("x"));
    expression.add({&ExpParser::opexp, {}});
    EXPECT_EQ(expression.getValue(), 5.5 * 5.5 * 5.5);
    expression.add({&ExpParser::opsignal, {static_cast<BaseSignal*>(nullptr), "none"}});
    EXPECT_EQ(expression.getValue(), 0.0);
}

TEST_F(ExpParserTest, derivedClassMayEditItsProgram) {
    ExpressionProbe expression("7 - 2");
    EXPECT_EQ(expression.getValue(), 5.0);
    expression.program[1].second.value = 3.0;
    EXPECT_EQ(expression.getValue(), 4.0);
    expression.program[2].first = &ExpParser::opmult;
    EXPECT_EQ(expression.getValue(), 21.0);
    expression.program.pop_back();
    expression.program.pop_back();
    EXPECT_EQ(expression.getValue(), 7.0);
    expression.program.emplace_back(&ExpParser::opneg, ExpParser::value_t());
    EXPECT_EQ(expression.getValue(), -7.0);
}

TEST_F(ExpParserTest, operationOfADerivedClassSeesTheProgramAtWork) {
    struct Watching : ExpressionProbe {
        Watching() : ExpressionProbe("10 + 20") {}
        void opwatch() {
            d_at = pc - program.begin();
            d_depth = stack.depth();
        }
        std::ptrdiff_t d_at = -1;
        unsigned int d_depth = 0;
    };
    Watching expression;
    auto const watch = static_cast<ExpParser::Operation>(&Watching::opwatch);
    expression.program.insert(expression.program.begin() + 2, {watch, ExpParser::value_t()});
    EXPECT_EQ(expression.getValue(), 30.0);
    EXPECT_EQ(expression.d_at, 2);
    EXPECT_EQ(expression.d_depth, 2U);
}

TEST_F(ExpParserTest, nullOperationIsAppendedAsItIsAndDoesNothing) {
    PlainSignal x("x", 3.0, 9);
    ExpressionProbe expression("1");
    expression.add(ExpParser::Operation());
    expression.add({nullptr, {2.0, ""}});
    expression.add({nullptr, {&x, "x"}});
    ASSERT_EQ(expression.program.size(), 4U);
    EXPECT_TRUE(expression.program[2].first == nullptr);
    EXPECT_EQ(expression.program[2].second.value, 2.0);
    EXPECT_EQ(expression.program[3].second.signal, &x);
    EXPECT_EQ(expression.getValue(), 1.0);
    EXPECT_EQ(x.d_physReads, 0);
    EXPECT_EQ(expression.getLastestTime(), 9U) << "its name is that of a signal";
    EXPECT_TRUE(expression.isWritten());

    ExpParser plain("1", false);
    plain.add(ExpParser::Operation());
    EXPECT_EQ(plain.getValue(), 1.0);
}

TEST_F(ExpParserTest, nullOperationPushesNothing) {
    ExpressionProbe expression("1");
    for (int i = 0; i < 5; ++i)
        expression.add(ExpParser::Operation());
    EXPECT_EQ(expression.stack.capacity, 1U);
    expression.add(2.0);
    EXPECT_EQ(expression.stack.capacity, 7U) << "counted among the instructions";
    expression.add(&ExpParser::opplus);
    EXPECT_EQ(expression.getValue(), 3.0);
}

TEST_F(ExpParserTest, programOfNullOperationsLeavesNothing) {
    ExpressionProbe expression("1");
    expression.program.clear();
    expression.add(ExpParser::Operation());
    EXPECT_EXIT(expression.getValue(), testing::ExitedWithCode(2), "double\\(0\\)\n$");
}

TEST_F(ExpParserTest, referenceToNoSignalHoldsNoValue) {
    ExpressionProbe expression("1");
    expression.add({&ExpParser::opsignal, {static_cast<BaseSignal*>(nullptr), "none"}});
    EXPECT_EQ(expression.getValue(), 0.0);
    EXPECT_FALSE(expression.isWritten());
    EXPECT_EQ(expression.getLastestTime(), 0U);
}

TEST_F(ExpParserTest, clearstackEmptiesTheStack) {
    ExpressionProbe expression("1");
    EXPECT_EQ(expression.getValue(), 1.0);
    EXPECT_EQ(expression.stack.depth(), 1U);
    expression.clearstack();
    EXPECT_EQ(expression.stack.depth(), 0U);
    EXPECT_EQ(expression.stack.top, expression.stack.base);
}

// Values

TEST_F(ExpParserTest, valueIsThatOfTheFormula) {
    PlainSignal a("a", 2.0, 1), b("b", -0.5, 1);
    std::pair<char const*, double> const cases[] = {
        {"a", 2.0},           {"a + b * 4", 0.0},         {"(a - b) / 2", 1.25}, {"-a * b", 1.0},
        {"a > b", 1.0},       {"a == pressed_long", 1.0}, {"a && 1", 1.0},       {"a && 0", 0.0},
        {"!a || b < 0", 1.0}, {"(a > 0) == 5", 1.0},      {"(a > 3) == 5", 0.0}, {"(a > 0) != 5", 0.0},
        {"5 && a == 2", 1.0},
    };
    for (auto const& [text, value] : cases)
        EXPECT_EQ(valueOf(text), value) << text;
}

// It matters for a number that is a condition only by its place, which keeps its value.
TEST_F(ExpParserTest, conditionOnTheLeftIsComparedAsItStands) {
    EXPECT_EQ(programOf("5 && 1 == 5"), "5 opnz 1 5 opdeq opland");
    ExpressionProbe expression("1");
    expression.program.clear();
    for (int i = 0; i < 2; ++i) {
        expression.add(5.0);
        expression.add(&ExpParser::opnz);
    }
    expression.add(&ExpParser::opbeq);
    EXPECT_EQ(expression.getValue(), 0.0);
}

TEST_F(ExpParserTest, valueFollowsItsSignals) {
    PlainSignal x("x", 1.0, 1);
    ExpressionProbe expression("x * 2 + 1");
    EXPECT_EQ(expression.getValue(), 3.0);
    x.set(5.0, 2);
    EXPECT_EQ(expression.getValue(), 11.0);
    EXPECT_EQ(expression.getValue(), 11.0);
}

TEST_F(ExpParserTest, divisionFollowsTheRulesOfFloatingPoint) {
    EXPECT_EQ(valueOf("1/0"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(valueOf("-1/0"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(valueOf("0/0")));
    EXPECT_EQ(valueOf("0/0 == 0/0"), 0.0);
    EXPECT_EQ(valueOf("0/0 != 0/0"), 1.0);
    EXPECT_EQ(valueOf("0/0 && 1"), 1.0);
}

TEST_F(ExpParserTest, signalWithoutAValueMakesTheWholeExpressionZero) {
    PlainSignal late("late"), x("x", 2.0, 1);
    Capture const output(std::cout), errors(std::cerr);
    for (char const* const text : {"late", "late + 5", "5 + late", "!late", "x || late", "x + x * (late - 1) + 7"}) {
        ExpressionProbe expression(text);
        EXPECT_EQ(expression.getValue(), 0.0) << text;
        EXPECT_EQ(expression.getValue(), 0.0) << text;
        EXPECT_FALSE(expression.getTrigger()) << text;
    }
    EXPECT_EQ(output.text() + errors.text(), "");
    ExpressionProbe expression("5 + late");
    EXPECT_EQ(expression.getValue(), 0.0);
    late.set(1.0, 1);
    EXPECT_EQ(expression.getValue(), 6.0);
    late.clear();
    EXPECT_EQ(expression.getValue(), 0.0);
}

TEST_F(ExpParserTest, signalWithoutAValueEndsTheProgram) {
    PlainSignal late("late"), x("x", 2.0, 1);
    ExpressionProbe expression("x + late + x");
    expression.getValue();
    EXPECT_EQ(x.d_physReads, 1);
    EXPECT_EQ(late.d_physReads, 1);
    EXPECT_EQ(expression.stack.depth(), 1U);
    EXPECT_TRUE(expression.pc == expression.program.end());
}

TEST_F(ExpParserTest, debugNamesTheSignalWithoutAValue) {
    PlainSignal const late("late");
    ExpressionProbe expression("1 + late");
    ExpParser::debug = 1;
    Capture const output(std::cout), errors(std::cerr);
    expression.getValue();
    EXPECT_EQ(errors.text(), "abort expression program due to (yet) invalid signal \"late\"\n");
    EXPECT_EQ(output.text(), "");
}

TEST_F(ExpParserTest, depthOtherThanOneAtTheEndEndsTheProcessWithStatus2) {
    std::string const start = "^stacksizes wrong at end of program: double\\(";
    EXPECT_EXIT(
        {
            std::streambuf* const original = std::cerr.rdbuf(nullptr);
            ExpressionProbe expression("");
            std::cerr.rdbuf(original);
            expression.getValue();
        },
        testing::ExitedWithCode(2), start + "0\\)\n$");
    ExpressionProbe expression("1");
    expression.add(2.0);
    expression.add(3.0);
    EXPECT_EXIT(expression.getValue(), testing::ExitedWithCode(2), start + "3\\)\n$");
    ExpParser plain("1", false);
    plain.add(2.0);
    EXPECT_EXIT(plain.getValue(), testing::ExitedWithCode(2), start + "2\\)\n$");
}

TEST_F(ExpParserTest, tooFewOperandsEndTheProcessWithStatus4) {
    ExpressionProbe expression("1");
    expression.add(&ExpParser::opplus);
    EXPECT_EXIT(expression.getValue(), testing::ExitedWithCode(4), "^Less than 2 elements on bool stack \\(1\\)\n$");
    ExpParser plain("1", false);
    plain.add(&ExpParser::opplus);
    EXPECT_EXIT(plain.getValue(), testing::ExitedWithCode(4), "^Less than 2 elements on bool stack \\(1\\)\n$");
}

TEST_F(ExpParserTest, programOfATextThatWasNotAcceptedRunsAsFarAsItGot) {
    std::streambuf* const original = std::cerr.rdbuf(nullptr);
    ExpParser one("1 2", false), two("1 + (2 * 3", false);
    std::cerr.rdbuf(original);
    EXPECT_EQ(one.getValue(), 1.0);
    EXPECT_EXIT(two.getValue(), testing::ExitedWithCode(2), "double\\(2\\)\n$");
}

// Triggers

TEST_F(ExpParserTest, levelTriggerIsTrueAboveZero) {
    PlainSignal x("x");
    ExpressionProbe expression("x");
    std::pair<double, bool> const cases[] = {{1.0, true},
                                             {1.0, true},
                                             {5e-324, true},
                                             {0.0, false},
                                             {-1.0, false},
                                             {std::numeric_limits<double>::infinity(), true},
                                             {std::numeric_limits<double>::quiet_NaN(), false}};
    for (auto const& [value, trigger] : cases) {
        x.set(value, 1);
        EXPECT_EQ(expression.getTrigger(), trigger) << value;
    }
    EXPECT_FALSE(expression.lastTrigger) << "kept for edges alone";
    EXPECT_TRUE(ExpressionProbe("1/0").getTrigger());
    EXPECT_FALSE(ExpressionProbe("0/0").getTrigger());
}

TEST_F(ExpParserTest, edgeTriggerIsTrueWhenTheConditionBecomesTrue) {
    PlainSignal x("x");
    ExpressionProbe expression("x", true);
    std::pair<double, bool> const cases[] = {{1, true},   {1, false},  {0, false}, {1, true},  {2, false},
                                             {-1, false}, {-2, false}, {3, true},  {0, false}, {0, false}};
    for (auto const& [value, trigger] : cases) {
        x.set(value, 1);
        EXPECT_EQ(expression.getTrigger(), trigger) << value;
        EXPECT_EQ(expression.lastTrigger, value > 0) << value;
    }
}

TEST_F(ExpParserTest, edgeTriggerTakesASignalWithoutAValueForFalse) {
    PlainSignal x("x");
    ExpressionProbe expression("x", true);
    EXPECT_FALSE(expression.getTrigger());
    x.set(1.0, 1);
    EXPECT_TRUE(expression.getTrigger());
    x.clear();
    EXPECT_FALSE(expression.getTrigger());
    x.set(1.0, 2);
    EXPECT_TRUE(expression.getTrigger());
}

// What expressions report of their signals

TEST_F(ExpParserTest, isWrittenOnceAllSignalsHoldValues) {
    PlainSignal x("x"), y("y");
    ExpressionProbe expression("x + 1 > y");
    EXPECT_FALSE(expression.isWritten());
    EXPECT_EQ(x.d_rawReads, 1);
    EXPECT_EQ(y.d_rawReads, 0) << "the first without a value decides";
    x.set(1.0, 1);
    EXPECT_FALSE(expression.isWritten());
    EXPECT_FALSE(expression.written);
    y.set(1.0, 1);
    EXPECT_TRUE(expression.isWritten());
    EXPECT_TRUE(expression.written);
    EXPECT_EQ(x.d_physReads + y.d_physReads, 0) << "asked for raw values";
}

TEST_F(ExpParserTest, isWrittenForGoodWithoutAskingAgain) {
    PlainSignal x("x", 1.0, 1);
    ExpressionProbe expression("x");
    EXPECT_TRUE(expression.isWritten());
    x.clear();
    EXPECT_TRUE(expression.isWritten());
    EXPECT_EQ(x.d_rawReads, 1);
}

TEST_F(ExpParserTest, expressionWithoutSignalsIsWrittenAndHasNoTime) {
    ExpressionProbe expression("1 + 2");
    EXPECT_TRUE(expression.isWritten());
    EXPECT_EQ(expression.getLastestTime(), 0U);
    EXPECT_TRUE(expression.signalMessageIds.empty());
}

TEST_F(ExpParserTest, latestTimeIsTheNewestOfAllSignals) {
    PlainSignal x("x", 1.0, 5), y("y", 1.0, 0x8000000000000000), z("z", 1.0, 7);
    ExpressionProbe const expression("x + y + z");
    EXPECT_EQ(expression.getLastestTime(), 0x8000000000000000U) << "compared as unsigned";
    y.set(1.0, 6);
    EXPECT_EQ(expression.getLastestTime(), 7U);
    x.set(1.0, 8);
    EXPECT_EQ(expression.getLastestTime(), 8U);
}

TEST_F(ExpParserTest, latestTimeCountsWhateverTheReadResult) {
    PlainSignal x("x", 1.0, 5), gone("gone", 1.0, 9), never("never");
    gone.clear();
    ExpressionProbe const expression("x + gone + never + Unknown");
    EXPECT_EQ(expression.getLastestTime(), 9U);
}

} // namespace
