// Programs brought into the compact form, step by step; EvaluationTest.cpp runs them.
#include "qzsignal/expression/CompactProgram.h"

#include "qzsignal/input/InputSignal.h"
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using qzsignal::CompactProgram;
using Form = CompactProgram::Form;
using Names = std::vector<std::string>;

class CompactProgramTest : public ExpressionTest {
protected:
    // The compact form of a text, and the program that it points into.
    struct Compacted {
        explicit Compacted(std::string const& text) : d_program(text), d_compact(d_program.program, d_program.stack) {}

        Names names() const {
            Names names;
            for (CompactProgram::Input const* input = d_compact.inputs(); input->d_signal != nullptr; ++input)
                names.push_back(d_compact.nameOf(*input));
            return names;
        }
        double const* place(std::size_t input) const { return &d_compact.inputs()[input].d_value; }
        CompactProgram::Step const& step(std::size_t number) const { return d_compact.steps()[number]; }

        ExpressionProbe d_program;
        CompactProgram d_compact;
    };

    static void expectLabel(CompactProgram::Step const& step, ExpParser::Operation operation, Form form) {
        EXPECT_EQ(step.d_label, CompactProgram::labelOf(operation, form));
    }
};

TEST_F(CompactProgramTest, stepsTakeTheirOperandsWhereTheyAre) {
    Compacted const program("a + b * 3 > 5 && c == pressed");
    ASSERT_EQ(program.names(), (Names{"a", "b", "c"}));
    EXPECT_EQ(program.d_compact.inputs()->d_signal, BaseSignal::getInstance("a"));

    expectLabel(program.step(0), &ExpParser::opmult, Form::PlaceConstant);
    EXPECT_EQ(program.step(0).d_left.d_place, program.place(1));
    EXPECT_EQ(program.step(0).d_right.d_constant, 3.0);

    expectLabel(program.step(1), &ExpParser::opplus, Form::PlaceAccumulator);
    EXPECT_EQ(program.step(1).d_left.d_place, program.place(0));

    expectLabel(program.step(2), &ExpParser::opgt, Form::AccumulatorConstant);
    EXPECT_EQ(program.step(2).d_right.d_constant, 5.0);

    expectLabel(program.step(3), &ExpParser::opdeq, Form::KeepPlaceConstant);
    EXPECT_EQ(program.step(3).d_left.d_place, program.place(2));
    EXPECT_EQ(program.step(3).d_right.d_constant, 1.0);

    expectLabel(program.step(4), &ExpParser::opland, Form::PlaceAccumulator);
    EXPECT_EQ(program.step(4).d_left.d_place, program.step(3).d_kept);

    EXPECT_EQ(program.step(5).d_label, CompactProgram::endLabel());
}

TEST_F(CompactProgramTest, pairsOfOperandsTakeOneStep) {
    std::pair<char const*, Form> const cases[] = {{"x - y", Form::PlacePlace},
                                                  {"x - 2", Form::PlaceConstant},
                                                  {"2 - x", Form::ConstantPlace},
                                                  {"2 - 1", Form::PlaceConstant}};
    for (auto const& [text, form] : cases) {
        Compacted const program(text);
        expectLabel(program.step(0), &ExpParser::opminus, form);
        EXPECT_EQ(program.step(1).d_label, CompactProgram::endLabel()) << text;
    }
    std::pair<char const*, Form> const kept[] = {{"(x * y) - (x - y)", Form::KeepPlacePlace},
                                                 {"(x * y) - (x - 2)", Form::KeepPlaceConstant},
                                                 {"(x * y) - (2 - x)", Form::KeepConstantPlace}};
    for (auto const& [text, form] : kept) {
        Compacted const program(text);
        expectLabel(program.step(1), &ExpParser::opminus, form);
        EXPECT_EQ(program.step(2).d_left.d_place, program.step(1).d_kept) << text;
    }
}

TEST_F(CompactProgramTest, accumulatorIsOnEitherSide) {
    std::pair<char const*, Form> const cases[] = {{"-x - y", Form::AccumulatorPlace},
                                                  {"-x - 2", Form::AccumulatorConstant},
                                                  {"y - -x", Form::PlaceAccumulator},
                                                  {"2 - -x", Form::ConstantAccumulator}};
    for (auto const& [text, form] : cases)
        expectLabel(Compacted(text).step(1), &ExpParser::opminus, form);
}

TEST_F(CompactProgramTest, valuesThatWaitHavePlacesOfTheirOwn) {
    Compacted const program("2 * 3 - (4 + 1) * (5 + 1) - (x + 1) * (y + 1)");
    std::set<double const*> places = {program.place(0), program.place(1)};
    std::size_t kept = 0;
    for (CompactProgram::Step const* step = program.d_compact.steps(); step->d_label != CompactProgram::endLabel();
         ++step)
        if (step->d_kept != nullptr) {
            ++kept;
            places.insert(step->d_kept);
        }
    EXPECT_EQ(kept, 4U);
    EXPECT_EQ(places.size(), 6U);
}

TEST_F(CompactProgramTest, operationOfOneOperandTakesItFromItsPlaceOrTheAccumulator) {
    Compacted const program("!(-x)");
    expectLabel(program.step(0), &ExpParser::opneg, Form::PlacePlace);
    EXPECT_EQ(program.step(0).d_left.d_place, program.place(0));
    expectLabel(program.step(1), &ExpParser::opnot, Form::AccumulatorPlace);
    EXPECT_EQ(program.step(2).d_label, CompactProgram::endLabel());
}

TEST_F(CompactProgramTest, operandAloneIsTheResult) {
    Compacted const constant("2.5");
    EXPECT_EQ(Compacted("x").names(), Names{"x"});
    EXPECT_TRUE(constant.names().empty());
    EXPECT_EQ(constant.step(0).d_label, CompactProgram::constantLabel());
    EXPECT_EQ(constant.step(0).d_left.d_constant, 2.5);
    EXPECT_EQ(constant.step(1).d_label, CompactProgram::endLabel());
}

TEST_F(CompactProgramTest, signalOfAnOwnClassIsOneInput) {
    InputSignal const own("AI.1");
    PlainSignal const derived("derived");
    struct DerivedInput : InputSignal {
        using InputSignal::InputSignal;
    } const derivedInput("AI.2");
    Compacted const program("AI.1 + derived * AI.2 - AI.1 / (derived + AI.2 + AI.1)");
    EXPECT_EQ(program.names(), (Names{"AI.1", "derived", "AI.2", "derived", "AI.2"}));
    EXPECT_TRUE(program.d_compact.sharesInputs());
    EXPECT_FALSE(Compacted("AI.1 + derived + derived").d_compact.sharesInputs());
}

} // namespace
