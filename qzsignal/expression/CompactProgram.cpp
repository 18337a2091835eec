// How programs are brought into the compact form.
#include "qzsignal/expression/CompactProgram.h"

#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/Operations.h"
#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/shm/ShmSignal.h"

#include <algorithm>
#include <map>
#include <typeinfo>

namespace qzsignal {

namespace {

using Form = CompactProgram::Form;

// An element of the stack on which the program would run.
struct Element {
    enum class Kind { Accumulator, Place, Constant };

    Kind d_kind;
    CompactProgram::Operand d_operand; // unless it is in the accumulator

    bool isAccumulator() const { return d_kind == Kind::Accumulator; }
    bool isConstant() const { return d_kind == Kind::Constant; }
};

Element inPlace(double const* place) {
    Element element{Element::Kind::Place, {}};
    element.d_operand.d_place = place;
    return element;
}

Element constantOf(double value) {
    Element element{Element::Kind::Constant, {}};
    element.d_operand.d_constant = value;
    return element;
}

Element pop(std::vector<Element>& elements) {
    Element const element = elements.back();
    elements.pop_back();
    return element;
}

// Only the addresses of type information are compared: a class from a program without it has none.
template <typename... Classes>
bool isOneOf(BaseSignal const& signal) {
    std::type_info const* const type = &typeid(signal);
    return ((type == &typeid(Classes)) || ...);
}

bool isOfOwnClass(BaseSignal const& signal) {
    return isOneOf<ShmSignal, CANSignalExt, CANSignal, LINSignal, FlexRaySignal, InputSignal, InputSignalExt>(signal);
}

Form formOf(Element const& left, Element const& right, bool keeps) {
    if (right.isAccumulator())
        return left.isConstant() ? Form::ConstantAccumulator : Form::PlaceAccumulator;
    if (left.isAccumulator())
        return right.isConstant() ? Form::AccumulatorConstant : Form::AccumulatorPlace;
    if (left.isConstant())
        return keeps ? Form::KeepConstantPlace : Form::ConstantPlace;
    if (right.isConstant())
        return keeps ? Form::KeepPlaceConstant : Form::PlaceConstant;
    return keeps ? Form::KeepPlacePlace : Form::PlacePlace;
}

} // namespace

void const* CompactProgram::labelOf(ExpParser::Operation operation, Form form) {
    auto const row = static_cast<std::size_t>(findOperation(operation) - operations);
    return label(2 + row * forms + static_cast<std::size_t>(form));
}

// Goes through the program as it would run on a stack. Each instruction takes at most one place.
CompactProgram::CompactProgram(std::vector<ExpParser::Instruction> const& program, Stack<double>& stack)
    : d_stack(&stack), d_places(program.size()) {
    d_inputs.reserve(program.size() + 1);
    d_steps.reserve(program.size() + 2);
    std::map<BaseSignal const*, double const*> places; // of signals that are read once
    double* freePlace = d_places.data();
    auto const intoPlace = [&freePlace](Element const& element) {
        if (!element.isConstant())
            return element;
        *freePlace = element.d_operand.d_constant;
        return inPlace(freePlace++);
    };
    std::vector<Element> elements; // of the stack; one of them at most is in the accumulator
    for (auto const& [operation, operand] : program) {
        if (operation == &ExpParser::opnz)
            continue; // leaves everything as it is
        if (operation == &ExpParser::opdouble) {
            elements.push_back(constantOf(operand.value));
            continue;
        }
        if (operation == &ExpParser::opsignal) {
            double const*& place = places[operand.signal];
            if (place == nullptr || !isOfOwnClass(*operand.signal)) {
                d_inputs.push_back({operand.signal, 0.0, 0, {this}});
                d_names.push_back(&operand.name);
                place = &d_inputs.back().d_value;
            } else {
                d_sharesInputs = true;
            }
            elements.push_back(inPlace(place));
            continue;
        }
        bool const binary = findOperation(operation)->operands == 2;
        Element const right = binary ? pop(elements) : inPlace(nullptr);
        Element left = pop(elements);
        if (!binary || right.isConstant())
            left = intoPlace(left);
        Step step{nullptr, left.d_operand, right.d_operand, nullptr};
        bool keeps = false;
        if (!left.isAccumulator() && !right.isAccumulator()) {
            auto const waiting = std::find_if(elements.rbegin(), elements.rend(),
                                              [](Element const& each) { return each.isAccumulator(); });
            keeps = waiting != elements.rend();
            if (keeps) {
                step.d_kept = freePlace++;
                *waiting = inPlace(step.d_kept);
            }
        }
        step.d_label = labelOf(operation, formOf(left, right, keeps));
        d_steps.push_back(step);
        elements.push_back({Element::Kind::Accumulator, {}});
    }
    d_inputs.push_back({nullptr, 0.0, 0, {nullptr}});
    d_isSignal = d_steps.empty() && !elements.back().isConstant();
    if (d_isSignal) {
        d_inputs.back().d_stack = d_stack;
        return;
    }
    if (d_steps.empty())
        d_steps.push_back({constantLabel(), elements.back().d_operand, {}, nullptr});
    Step end{endLabel(), {}, {}, nullptr};
    end.d_left.d_stack = d_stack;
    d_steps.push_back(end);
    d_inputs.back().d_steps = d_steps.data();
}

} // namespace qzsignal
