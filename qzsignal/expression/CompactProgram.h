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
// Belongs to one expression and points into its program, which must not change.
class CompactProgram {
public:
    // Precondition: `program` comes from a text that was accepted.
    explicit CompactProgram(std::vector<ExpParser::Instruction> const& program);
    CompactProgram(CompactProgram const&) = delete;
    CompactProgram& operator=(CompactProgram const&) = delete;

    // Runs the program, returns its result and leaves it on `stack` as the only element. The signals are read in order
    // of the program; the first one that has no value ends it with the result 0.
    double evaluate(Stack<double>& stack);

private:
    struct Input {
        BaseSignal* d_signal; // null behind the last one
        double* d_place;
        std::string const* d_name;
    };

    // Which operands a step takes.
    enum class Form {
        Next,    // the accumulator, and of two operands the right one from its place
        Swapped, // the left one from its place, and the accumulator
        First,   // all from their places; what was in the accumulator gets a place first
    };
    static constexpr std::size_t forms = 3;

    struct Step {
        std::size_t d_code;    // of operation and form
        double const* d_place; // where the operand is that is not in the accumulator; of First, the right one
        double const* d_left;  // of First: where the left or only operand is
        double* d_kept;        // of First: the place for what was in the accumulator
    };

    static constexpr std::size_t endCode = 0; // of what stands behind the last step
    // Behind endCode come the codes of the operations in the order of their table, each with its forms.
    static std::size_t codeOf(ExpParser::Operation operation, Form form);

    Input const* readInputs();

    std::vector<Input> d_inputs;  // in order of the program
    std::vector<Step> d_steps;    // none if the program is one operand, which has the first place
    std::vector<double> d_places; // never moved; the last one is for whatever needs none
};

} // namespace qzsignal
