// How programs run: in the compact form, or as they stand.
#include "qzsignal/expression/CompactProgram.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/Operations.h"
#include "qzsignal/expression/VirtualTable.h"
#include "qzsignal/signal/Diagnostics.h"

#include <cstdlib>

namespace {

// The result of a program is the only element.
inline double leave(Stack<double>& stack, double result) {
    stack.clear();
    stack.push(result);
    return result;
}

// Set by `compute`, outside of which its labels have no names.
void const* const* stepLabels = nullptr;

} // namespace

namespace qzsignal {

void const* CompactProgram::label(std::size_t number) {
    if (stepLabels == nullptr) {
        Input none{};
        compute(&none);
    }
    return stepLabels[number];
}

[[gnu::cold]] double CompactProgram::rejectInput(Input const& input) const {
    reportNoValue(nameOf(input));
    return leave(*d_stack, 0.0);
}

[[gnu::aligned(64)]] double CompactProgram::readSignal(Input* input) {
    input->d_value = 0.0;
    if (__builtin_expect(!input->d_signal->read(input->d_value, input->d_timestamp), 0))
        return input->d_program->rejectInput(*input);
    return leave(*input[1].d_stack, input->d_value);
}

// Each step jumps to the next one, through labels as values, which are not standard C++. A switch in a loop has one
// jump to all steps, which processors predict badly: long programs take three times as long. The address of this
// function alone makes a difference of 10 %.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

[[gnu::aligned(64)]] double CompactProgram::compute(Input* input) {
    for (; input->d_signal != nullptr; ++input) {
        input->d_value = 0.0;
        if (__builtin_expect(!input->d_signal->read(input->d_value, input->d_timestamp), 0))
            return input->d_program->rejectInput(*input);
    }

    // clang-format off
    // An operation of one operand has a label in each column, of which three are used.
    static void const* const labels[] = {
        &&end, &&constant,
#define QZSIGNAL_LABELS_1(name)                                     \
        &&name##A, &&name##A, &&name##A, &&name##A,                 \
        &&name##P, &&name##P, &&name##P,                            \
        &&name##KP, &&name##KP, &&name##KP,
#define QZSIGNAL_LABELS_2(name)                                     \
        &&name##AP, &&name##AC, &&name##PA, &&name##CA,             \
        &&name##PP, &&name##PC, &&name##CP,                         \
        &&name##KPP, &&name##KPC, &&name##KCP,
#define QZSIGNAL_LABELS(name, operands, result) QZSIGNAL_LABELS_##operands(name)
        QZSIGNAL_OPERATIONS(QZSIGNAL_LABELS)
#undef QZSIGNAL_LABELS_1
#undef QZSIGNAL_LABELS_2
#undef QZSIGNAL_LABELS
    };

    Step const* step = input->d_steps;
    if (__builtin_expect(step == nullptr, 0)) {
        stepLabels = labels;
        return 0.0;
    }
    double a = 0.0; // the accumulator
    goto *step->d_label;

// The number keeps GCC from joining the ends of all steps, and so their jumps, to one.
#define QZSIGNAL_NEXT                          \
    ++step;                                    \
    asm volatile("" : : "i"(__COUNTER__));     \
    goto *step->d_label;
#define QZSIGNAL_STEP(label, ...)              \
label:                                         \
    a = __VA_ARGS__;                           \
    QZSIGNAL_NEXT
#define QZSIGNAL_KEEP_STEP(label, ...)         \
label:                                         \
    *step->d_kept = a;                         \
    a = __VA_ARGS__;                           \
    QZSIGNAL_NEXT
#define QZSIGNAL_STEPS_1(name)                                                                             \
    QZSIGNAL_STEP(name##A, results::name(a))                                                               \
    QZSIGNAL_STEP(name##P, results::name(*step->d_left.d_place))                                           \
    QZSIGNAL_KEEP_STEP(name##KP, results::name(*step->d_left.d_place))
#define QZSIGNAL_STEPS_2(name)                                                                             \
    QZSIGNAL_STEP(name##AP, results::name(a, *step->d_right.d_place))                                      \
    QZSIGNAL_STEP(name##AC, results::name(a, step->d_right.d_constant))                                    \
    QZSIGNAL_STEP(name##PA, results::name(*step->d_left.d_place, a))                                       \
    QZSIGNAL_STEP(name##CA, results::name(step->d_left.d_constant, a))                                     \
    QZSIGNAL_STEP(name##PP, results::name(*step->d_left.d_place, *step->d_right.d_place))                  \
    QZSIGNAL_STEP(name##PC, results::name(*step->d_left.d_place, step->d_right.d_constant))                \
    QZSIGNAL_STEP(name##CP, results::name(step->d_left.d_constant, *step->d_right.d_place))                \
    QZSIGNAL_KEEP_STEP(name##KPP, results::name(*step->d_left.d_place, *step->d_right.d_place))            \
    QZSIGNAL_KEEP_STEP(name##KPC, results::name(*step->d_left.d_place, step->d_right.d_constant))          \
    QZSIGNAL_KEEP_STEP(name##KCP, results::name(step->d_left.d_constant, *step->d_right.d_place))
#define QZSIGNAL_STEPS(name, operands, result) QZSIGNAL_STEPS_##operands(name)
    QZSIGNAL_OPERATIONS(QZSIGNAL_STEPS)
#undef QZSIGNAL_NEXT
#undef QZSIGNAL_STEP
#undef QZSIGNAL_KEEP_STEP
#undef QZSIGNAL_STEPS_1
#undef QZSIGNAL_STEPS_2
#undef QZSIGNAL_STEPS
    // clang-format on

constant:
    a = step->d_left.d_constant;
    ++step;
end:
    return leave(*step->d_left.d_stack, a);
}

#pragma GCC diagnostic pop

} // namespace qzsignal

// A derived class may change the program at any time, and have operations that see it at work. Debug output shows each
// read.
[[gnu::aligned(64)]] double ExpParser::getValue() {
    if (__builtin_expect(qzsignal::virtualTableOf(*this) != d_compactTable, 0))
        return runProgram();
    if (d_compact->sharesInputs() && (debug != 0 || qzsignal::debugging()))
        return runProgram();
    return d_compact->run();
}

double ExpParser::runProgram() {
    stack.clear();
    for (pc = program.begin(); pc != program.end(); ++pc)
        if (pc->first != nullptr)
            (this->*pc->first)();
    if (stack.depth() != 1) {
        qzsignal::writeLine(std::cerr, "", "stacksizes wrong at end of program: double(", stack.depth(), ")");
        std::exit(2);
    }
    return stack.back();
}
