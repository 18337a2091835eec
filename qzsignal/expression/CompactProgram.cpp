// How programs are brought into the compact form, and run in it.
#include "qzsignal/expression/CompactProgram.h"

#include "qzsignal/expression/Operations.h"

#include <algorithm>

namespace qzsignal {

namespace {

bool isOperand(ExpParser::Instruction const& instruction) {
    return instruction.first == &ExpParser::opdouble || instruction.first == &ExpParser::opsignal;
}

template <typename Element>
Element pop(std::vector<Element>& elements) {
    Element const element = elements.back();
    elements.pop_back();
    return element;
}

// The result is the only element.
double leave(Stack<double>& stack, double result) {
    stack.clear();
    stack.push(result);
    return result;
}

} // namespace

std::size_t CompactProgram::codeOf(ExpParser::Operation operation, Form form) {
    auto const row = static_cast<std::size_t>(findOperation(operation) - operations);
    return endCode + 1 + row * forms + static_cast<std::size_t>(form);
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
    if (!d_steps.empty())
        d_steps.push_back({endCode, noPlace, nullptr, nullptr});
}

// Returns the first one whose signal has no value, or null.
inline CompactProgram::Input const* CompactProgram::readInputs() {
    unsigned long long timestamp = 0;
    for (Input const* input = d_inputs.data(); input->d_signal != nullptr; ++input) {
        *input->d_place = 0.0;
        if (!input->d_signal->read(*input->d_place, timestamp))
            return input;
    }
    return nullptr;
}

// Each step goes on to the next one by itself, through labels as values, which are not standard C++. With a switch in a
// loop there are more jumps for each step, whose ways the processor has to foretell: long programs take three times as
// long.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

double CompactProgram::evaluate(Stack<double>& stack) {
    if (Input const* const input = readInputs()) {
        reportNoValue(*input->d_name);
        return leave(stack, 0.0);
    }
    if (d_steps.empty())
        return leave(stack, d_places.front());

    // clang-format off
    // By the code of a step. An operation of one operand is never Swapped.
    static void const* const labels[] = {
        &&end,
#define QZSIGNAL_ONE(name) &&name##Next, &&name##Next, &&name##First,
#define QZSIGNAL_TWO(name) &&name##Next, &&name##Swapped, &&name##First,
        QZSIGNAL_COMPUTING_OPERATIONS(QZSIGNAL_ONE, QZSIGNAL_TWO)
#undef QZSIGNAL_ONE
#undef QZSIGNAL_TWO
    };

    Step const* step = d_steps.data();
    double a = 0.0; // the accumulator
    double b = *step->d_place;
    goto *labels[step->d_code];

#define QZSIGNAL_GO_ON            \
    ++step;                       \
    b = *step->d_place;           \
    goto *labels[step->d_code];
#define QZSIGNAL_ONE(name)        \
name##First:                      \
    *step->d_kept = a;            \
    a = *step->d_left;            \
name##Next:                       \
    a = results::name(a);         \
    QZSIGNAL_GO_ON
#define QZSIGNAL_TWO(name)        \
name##Swapped:                    \
    a = results::name(b, a);      \
    QZSIGNAL_GO_ON                \
name##First:                      \
    *step->d_kept = a;            \
    a = *step->d_left;            \
name##Next:                       \
    a = results::name(a, b);      \
    QZSIGNAL_GO_ON
    QZSIGNAL_COMPUTING_OPERATIONS(QZSIGNAL_ONE, QZSIGNAL_TWO)
#undef QZSIGNAL_ONE
#undef QZSIGNAL_TWO
#undef QZSIGNAL_GO_ON
    // clang-format on

end:
    return leave(stack, a);
}

#pragma GCC diagnostic pop

} // namespace qzsignal
