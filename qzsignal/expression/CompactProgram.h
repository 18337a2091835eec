// The compact form of a program, in which expressions run.
#pragma once

#include "qzsignal/expression/ExpParser.h"

#include <cstddef>
#include <string>
#include <vector>

namespace qzsignal {

// A program that leaves its operands where they are. Each has a place: a constant lies there from the beginning, and
// the value of a signal is put there before anything is computed. What remains is one step per operation. It takes one
// operand from the accumulator, the other one from its place, and leaves the result in the accumulator:
//
//     a + b * 3 > 5 && c == 1        a b 3 opmult opplus 5 opgt c 1 opdeq opland
//
//     inputs   a, b, c
//     steps    opmult, First         b * 3
//              opplus, Swapped       a + accumulator
//              opgt, Next            accumulator > 5
//              opdeq, First          c == 1; what was in the accumulator gets a place
//              opland, Swapped       that place && accumulator
//
// Belongs to one expression and points into its program, which must not change. `ExpParser::getValue` runs it.
class CompactProgram {
public:
    // Precondition: `program` comes from a text that was accepted.
    explicit CompactProgram(std::vector<ExpParser::Instruction> const& program);
    CompactProgram(CompactProgram const&) = delete;
    CompactProgram& operator=(CompactProgram const&) = delete;

    struct Input {
        BaseSignal* d_signal; // null behind the last one
        double* d_place;
        std::string const* d_name;
    };

    struct Step {
        std::size_t d_code;    // of operation and form
        double const* d_place; // where the operand is that is not in the accumulator; of First, the right one
        double const* d_left;  // of First: where the left or only operand is
        double* d_kept;        // of First: the place for what was in the accumulator
    };

    // In order of the program.
    Input const* inputs() const { return d_inputs.data(); }

    // Behind the last one stands `endCode`. A program that is one operand has `operandCode` alone.
    Step const* steps() const { return d_steps.data(); }

    // Which operands a step takes.
    enum class Form {
        Next,    // the accumulator, and of two operands the right one from its place
        Swapped, // the left one from its place, and the accumulator
        First,   // all from their places; what was in the accumulator gets a place first
    };

    // Codes of steps. Those of the operations come behind the others: in the order of their table, each in its forms.
    static constexpr std::size_t endCode = 0;
    static constexpr std::size_t operandCode = 1;
    static std::size_t codeOf(ExpParser::Operation operation, Form form);

private:
    std::vector<Input> d_inputs;
    std::vector<Step> d_steps;
    std::vector<double> d_places; // never moved; the last one is for whatever needs none
};

} // namespace qzsignal
