// How programs are brought into the compact form.
#include "qzsignal/expression/CompactProgram.h"

#include "qzsignal/expression/Operations.h"

#include <algorithm>

namespace qzsignal {

namespace {

constexpr std::size_t forms = 3;

bool isOperand(ExpParser::Instruction const& instruction) {
    return instruction.first == &ExpParser::opdouble || instruction.first == &ExpParser::opsignal;
}

template <typename Element>
Element pop(std::vector<Element>& elements) {
    Element const element = elements.back();
    elements.pop_back();
    return element;
}

} // namespace

std::size_t CompactProgram::codeOf(ExpParser::Operation operation, Form form) {
    auto const row = static_cast<std::size_t>(findOperation(operation) - operations);
    return operandCode + 1 + row * forms + static_cast<std::size_t>(form);
}

// Goes through the program as it would run on a stack. An instruction takes one place at most: an operand for its
// value, an operation for what was in the accumulator before.
CompactProgram::CompactProgram(std::vector<ExpParser::Instruction> const& program) : d_places(program.size() + 1) {
    auto const operands = static_cast<std::size_t>(std::count_if(program.begin(), program.end(), isOperand));
    d_inputs.reserve(operands + 1);
    d_steps.reserve(program.size() - operands + 1);
    double* const noPlace = &d_places.back();
    double* freePlace = d_places.data();

    double* const accumulator = nullptr;
    std::vector<double*> stack; // where its elements are; one of them at most is in the accumulator
    stack.reserve(operands);
    for (auto const& [operation, operand] : program) {
        if (operation == &ExpParser::opnz)
            continue; // leaves everything as it is
        if (operation == &ExpParser::opdouble || operation == &ExpParser::opsignal) {
            if (operation == &ExpParser::opsignal)
                d_inputs.push_back({operand.signal, freePlace, &operand.name});
            else
                *freePlace = operand.value;
            stack.push_back(freePlace++);
            continue;
        }
        double* const right = findOperation(operation)->operands == 2 ? pop(stack) : noPlace;
        double* const left = pop(stack);
        if (right == accumulator) {
            d_steps.push_back({codeOf(operation, Form::Swapped), left, nullptr, nullptr});
        } else if (left == accumulator) {
            d_steps.push_back({codeOf(operation, Form::Next), right, nullptr, nullptr});
        } else {
            double* kept = noPlace;
            auto const waiting = std::find(stack.rbegin(), stack.rend(), accumulator);
            if (waiting != stack.rend())
                *waiting = kept = freePlace++;
            d_steps.push_back({codeOf(operation, Form::First), right, left, kept});
        }
        stack.push_back(accumulator);
    }
    d_inputs.push_back({nullptr, nullptr, nullptr});
    if (stack.back() == accumulator)
        d_steps.push_back({endCode, noPlace, nullptr, nullptr});
    else
        d_steps.push_back({operandCode, stack.back(), nullptr, nullptr});
}

} // namespace qzsignal
