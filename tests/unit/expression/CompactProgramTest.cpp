// Programs brought into the compact form, step by step; EvaluationTest.cpp runs them.
#include "qzsignal/expression/CompactProgram.h"

#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using qzsignal::CompactProgram;
using Form = CompactProgram::Form;

class CompactProgramTest : public ExpressionTest {
protected:
    static std::vector<std::string> namesOf(CompactProgram const& compact) {
        std::vector<std::string> names;
        for (CompactProgram::Input const* input = compact.inputs(); input->d_signal != nullptr; ++input)
            names.push_back(*input->d_name);
        return names;
    }
};

TEST_F(CompactProgramTest, stepsTakeTheirOperandsWhereTheyAre) {
    ExpressionProbe const program("a + b * 3 > 5 && c == pressed");
    CompactProgram const compact(program.program);
    ASSERT_EQ(namesOf(compact), (std::vector<std::string>{"a", "b", "c"}));
    CompactProgram::Input const *const a = compact.inputs(), *const b = a + 1, *const c = a + 2;
    EXPECT_EQ(a->d_signal, BaseSignal::getInstance("a"));

    CompactProgram::Step const* step = compact.steps();
    EXPECT_EQ(step->d_code, CompactProgram::codeOf(&ExpParser::opmult, Form::First));
    EXPECT_EQ(step->d_left, b->d_place);
    EXPECT_EQ(*step->d_place, 3.0);

    ++step;
    EXPECT_EQ(step->d_code, CompactProgram::codeOf(&ExpParser::opplus, Form::Swapped));
    EXPECT_EQ(step->d_place, a->d_place);

    ++step;
    EXPECT_EQ(step->d_code, CompactProgram::codeOf(&ExpParser::opgt, Form::Next));
    EXPECT_EQ(*step->d_place, 5.0);

    ++step;
    EXPECT_EQ(step->d_code, CompactProgram::codeOf(&ExpParser::opdeq, Form::First));
    EXPECT_EQ(step->d_left, c->d_place);
    EXPECT_EQ(*step->d_place, 1.0);
    double const* const kept = step->d_kept;

    ++step;
    EXPECT_EQ(step->d_code, CompactProgram::codeOf(&ExpParser::opland, Form::Swapped));
    EXPECT_EQ(step->d_place, kept);

    ++step;
    EXPECT_TRUE(step->d_code == CompactProgram::endCode);
}

TEST_F(CompactProgramTest, operandsHavePlacesOfTheirOwn) {
    ExpressionProbe const program("x * x - (x + 1) * (x + 1)");
    CompactProgram const compact(program.program);
    ASSERT_EQ(namesOf(compact), (std::vector<std::string>{"x", "x", "x", "x"}));
    std::set<double const*> places;
    for (int i = 0; i < 4; ++i)
        places.insert(compact.inputs()[i].d_place);
    CompactProgram::Step const* const steps = compact.steps();
    for (int const i : {1, 2}) { // each x + 1, with what waits for it
        EXPECT_EQ(*steps[i].d_place, 1.0);
        places.insert({steps[i].d_place, steps[i].d_kept});
    }
    EXPECT_EQ(places.size(), 8U);
}

TEST_F(CompactProgramTest, operationOfOneOperandTakesItFromItsPlaceOrTheAccumulator) {
    ExpressionProbe const program("!(-x)");
    CompactProgram const compact(program.program);
    CompactProgram::Step const* const steps = compact.steps();
    EXPECT_EQ(steps[0].d_code, CompactProgram::codeOf(&ExpParser::opneg, Form::First));
    EXPECT_EQ(steps[0].d_left, compact.inputs()->d_place);
    EXPECT_EQ(steps[1].d_code, CompactProgram::codeOf(&ExpParser::opnot, Form::Next));
    EXPECT_TRUE(steps[2].d_code == CompactProgram::endCode);
}

TEST_F(CompactProgramTest, operandAloneIsTheResult) {
    ExpressionProbe const signal("x"), constant("2.5");
    CompactProgram const compactSignal(signal.program), compactConstant(constant.program);
    EXPECT_TRUE(compactSignal.steps()->d_code == CompactProgram::operandCode);
    EXPECT_EQ(compactSignal.steps()->d_place, compactSignal.inputs()->d_place);
    EXPECT_TRUE(compactConstant.steps()->d_code == CompactProgram::operandCode);
    EXPECT_EQ(*compactConstant.steps()->d_place, 2.5);
    EXPECT_TRUE(namesOf(compactConstant).empty());
}

} // namespace
