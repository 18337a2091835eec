// The list of predefined inputs.
#include "qzsignal/input/InputTable.h"

namespace qzsignal {
namespace {

constexpr InputRow inputs[] = {
    {"DI.0", InputClass::Digital, 0},     {"DI.1", InputClass::Digital, 1},     {"DI.2", InputClass::Digital, 2},
    {"DI.3", InputClass::Digital, 3},     {"DI.4", InputClass::Digital, 4},     {"AI.0", InputClass::Analog, 0},
    {"AI.1", InputClass::Analog, 1},      {"AI.2", InputClass::Analog, 2},      {"AI.3", InputClass::Analog, 3},
    {"AI.4", InputClass::Analog, 4},      {"AI.5", InputClass::Analog, 5},      {"AI.6", InputClass::Analog, 6},
    {"AI.7", InputClass::Analog, 7},      {"AI.8", InputClass::Analog, 8},      {"AI.9", InputClass::Analog, 9},
    {"RC.F1", InputClass::Keyboard, 1},   {"RC.F2", InputClass::Keyboard, 2},   {"RC.F3", InputClass::Keyboard, 3},
    {"RC.F4", InputClass::Keyboard, 4},   {"RC.F5", InputClass::Keyboard, 5},   {"RC.F6", InputClass::Keyboard, 6},
    {"RC.F7", InputClass::Keyboard, 7},   {"RC.F8", InputClass::Keyboard, 8},   {"RC.F9", InputClass::Keyboard, 9},
    {"RC.F10", InputClass::Keyboard, 10}, {"RC.TRG", InputClass::Keyboard, 16}, {"", InputClass::None, 0},
};

} // namespace

InputRow const* findInput(std::string const& name) {
    for (InputRow const& row : inputs)
        if (name == row.d_name)
            return &row;
    return nullptr;
}

} // namespace qzsignal
