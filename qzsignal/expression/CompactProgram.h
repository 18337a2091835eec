// The compact form of a program, which is what `ExpParser::getValue` runs.
#pragma once

#include "qzsignal/expression/ExpParser.h"

#include <cstddef>
#include <string>
#include <vector>

namespace qzsignal {

// A program that leaves its operands where they are. Each signal has a place for its value, which is read before
// anything is computed; constants are in the steps. There is one step per operation. It takes its operands from the
// accumulator and from places, and leaves the result in the accumulator:
//
//     a + b * 3 > 5 && c == 1        a b 3 opmult opplus 5 opgt c 1 opdeq opland
//
//     inputs   a, b, c
//     steps    opmult, PlaceConstant          b * 3
//              opplus, PlaceAccumulator       a + accumulator
//              opgt,   AccumulatorConstant    accumulator > 5
//              opdeq,  KeepPlaceConstant      c == 1, after the accumulator was put into a place
//              opland, PlaceAccumulator       that place && accumulator
//
// A signal of one of the library's own classes is one input, however often the program refers to it, and so has one
// value in an evaluation. A signal of any other class may count its reads: it is one input for each reference.
//
// A compact program belongs to one expression and points into its program and its stack.
class CompactProgram {
public:
    // Precondition: `program` comes from a text that was accepted, and does not change.
    CompactProgram(std::vector<ExpParser::Instruction> const& program, Stack<double>& stack);
    CompactProgram(CompactProgram const&) = delete;
    CompactProgram& operator=(CompactProgram const&) = delete;

    // Reads the signals and computes the result, which becomes the only element of the stack. If a signal has no value,
    // it is reported and the result is 0.
    double run() { return d_isSignal ? readSignal(d_inputs.data()) : compute(d_inputs.data()); }

    // True if an input stands for several references.
    bool sharesInputs() const { return d_sharesInputs; }

    union Operand {
        double const* d_place;
        double d_constant;
        Stack<double>* d_stack;
    };

    struct Step {
        void const* d_label; // of operation and form, in `compute`
        Operand d_left;      // the left or only operand, unless that is the accumulator; of the last step, the stack
        Operand d_right;     // the right operand, unless that is the accumulator
        double* d_kept;      // of forms that keep the accumulator: its place
    };

    struct Input {
        BaseSignal* d_signal;           // null after the last one
        double d_value;                 // its place
        unsigned long long d_timestamp; // not used
        union {
            CompactProgram* d_program;
            Step const* d_steps;    // after the last one
            Stack<double>* d_stack; // after the only one, if the program is one signal
        };
    };

    // In the order in which they are read.
    Input const* inputs() const { return d_inputs.data(); }
    std::string const& nameOf(Input const& input) const {
        return *d_names[static_cast<std::size_t>(&input - inputs())];
    }

    // After the last one is a step that ends the program. A program that is one signal has no steps.
    Step const* steps() const { return d_steps.data(); }

    // Where a step has its operands. An operation of one operand has it in the accumulator or in a place.
    enum class Form {
        AccumulatorPlace,
        AccumulatorConstant,
        PlaceAccumulator,
        ConstantAccumulator,
        PlacePlace,
        PlaceConstant,
        ConstantPlace,
        KeepPlacePlace, // these put the accumulator into a place first
        KeepPlaceConstant,
        KeepConstantPlace,
    };
    static constexpr std::size_t forms = 10;

    // The labels of steps.
    static void const* endLabel() { return label(0); }
    static void const* constantLabel() { return label(1); } // sets the accumulator to the left operand
    static void const* labelOf(ExpParser::Operation operation, Form form);

private:
    static void const* label(std::size_t number);
    static double readSignal(Input* input);
    static double compute(Input* input);
    double rejectInput(Input const& input) const;

    std::vector<Input> d_inputs; // never moved, like the places: steps point to them
    std::vector<Step> d_steps;
    Stack<double>* d_stack;
    bool d_isSignal = false;
    bool d_sharesInputs = false;
    std::vector<std::string const*> d_names; // of the inputs
    std::vector<double> d_places;            // of results that wait, and of constants that need a place
};

} // namespace qzsignal
