// How programs run: in the compact form, or as they stand.
#include "qzsignal/expression/CompactProgram.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/Operations.h"
#include "qzsignal/expression/VirtualTable.h"
#include "qzsignal/signal/Diagnostics.h"

#include <cstdlib>

namespace {

using qzsignal::CompactProgram;

// Puts the values of all signals into their places. Returns the first signal without a value, or null.
inline CompactProgram::Input const* read(CompactProgram::Input const* input) {
    unsigned long long timestamp = 0;
    for (; input->d_signal != nullptr; ++input) {
        *input->d_place = 0.0;
        if (!input->d_signal->read(*input->d_place, timestamp))
            return input;
    }
    return nullptr;
}

// The result of a program is the only element.
inline double leave(Stack<double>& stack, double result) {
    stack.clear();
    stack.push(result);
    return result;
}

} // namespace

// Each step jumps to the next one, through labels as values, which are not standard C++. A switch in a loop has one
// jump to all steps, which processors predict badly: long programs take three times as long.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

double ExpParser::getValue() {
    // A derived class may change the program at any time, and have operations that see it at work.
    if (__builtin_expect(d_compact == nullptr || qzsignal::virtualTableOf(*this) != d_ownTable, 0))
        return runProgram();

    CompactProgram const& compact = *d_compact;
    if (CompactProgram::Input const* const input = read(compact.inputs())) {
        qzsignal::reportNoValue(*input->d_name);
        return leave(stack, 0.0);
    }

    // clang-format off
    // By the code of a step. An operation of one operand is never Swapped.
    static void const* const labels[] = {
        &&end, &&operand,
#define QZSIGNAL_LABELS_1(name) &&name##Next, &&name##Next, &&name##First,
#define QZSIGNAL_LABELS_2(name) &&name##Next, &&name##Swapped, &&name##First,
#define QZSIGNAL_LABELS(name, operands, result) QZSIGNAL_LABELS_##operands(name)
        QZSIGNAL_OPERATIONS(QZSIGNAL_LABELS)
#undef QZSIGNAL_LABELS_1
#undef QZSIGNAL_LABELS_2
#undef QZSIGNAL_LABELS
    };

    CompactProgram::Step const* step = compact.steps();
    double a = 0.0; // the accumulator
    double b = *step->d_place;
    goto *labels[step->d_code];

// The number keeps GCC from joining the ends of all steps, and so their jumps, to one.
#define QZSIGNAL_GO_ON                         \
    ++step;                                    \
    b = *step->d_place;                        \
    asm volatile("" : : "i"(__COUNTER__));     \
    goto *labels[step->d_code];
#define QZSIGNAL_STEPS_1(name)                 \
name##First:                                   \
    *step->d_kept = a;                         \
    a = *step->d_left;                         \
name##Next:                                    \
    a = qzsignal::results::name(a);            \
    QZSIGNAL_GO_ON
#define QZSIGNAL_STEPS_2(name)                 \
name##Swapped:                                 \
    a = qzsignal::results::name(b, a);         \
    QZSIGNAL_GO_ON                             \
name##First:                                   \
    *step->d_kept = a;                         \
    a = *step->d_left;                         \
name##Next:                                    \
    a = qzsignal::results::name(a, b);         \
    QZSIGNAL_GO_ON
#define QZSIGNAL_STEPS(name, operands, result) QZSIGNAL_STEPS_##operands(name)
    QZSIGNAL_OPERATIONS(QZSIGNAL_STEPS)
#undef QZSIGNAL_STEPS_1
#undef QZSIGNAL_STEPS_2
#undef QZSIGNAL_STEPS
#undef QZSIGNAL_GO_ON
    // clang-format on

operand:
    a = b;
end:
    return leave(stack, a);
}

#pragma GCC diagnostic pop

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
