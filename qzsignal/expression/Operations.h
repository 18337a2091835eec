// What is made of the rows of operations: functions, and a table to find the row of an instruction.
#pragma once

#include "qzsignal/expression/Conditions.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/OperationRows.h"

#include <cmath>
#include <string>

namespace qzsignal {

// The result of each operation as a function of its operands, called as the operation.
namespace results {

#define QZSIGNAL_PARAMETERS_1 Number a
#define QZSIGNAL_PARAMETERS_2 Number a, Number b
#define QZSIGNAL_RESULT(name, operands, result)                                                                        \
    inline double name(QZSIGNAL_PARAMETERS_##operands) {                                                               \
        return result;                                                                                                 \
    }
QZSIGNAL_OPERATIONS(QZSIGNAL_RESULT)
#undef QZSIGNAL_RESULT
#undef QZSIGNAL_PARAMETERS_1
#undef QZSIGNAL_PARAMETERS_2

} // namespace results

struct OperationRow {
    char const* name;
    unsigned int operands; // elements that it takes from the stack; 0: it only pushes
    ExpParser::Operation function;
};

// Those that compute come first, in the order of their rows.
// clang-format off
inline constexpr OperationRow operations[] = {
#define QZSIGNAL_ENTRY(name, operands, result) {#name, operands, &ExpParser::name},
    QZSIGNAL_OPERATIONS(QZSIGNAL_ENTRY)
#undef QZSIGNAL_ENTRY
    {"opdouble", 0, &ExpParser::opdouble},
    {"opsignal", 0, &ExpParser::opsignal},
};
// clang-format on

// The row of an operation; null for any other function of a derived class, and for none.
OperationRow const* findOperation(ExpParser::Operation function);

// With debug output, reports that the program ends because the signal of this name has no value.
void reportNoValue(std::string const& name);

} // namespace qzsignal
