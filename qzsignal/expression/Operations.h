// The operations of expression programs.
#pragma once

#include "qzsignal/expression/ExpParser.h"

namespace qzsignal {

// One operation. It checks that there are as many elements on the stack as it takes, and leaves one result for them.
struct OperationRow {
    char const* name;
    unsigned int operands; // elements that it takes from the stack; 0: it only pushes
    ExpParser::Operation function;
};

inline constexpr OperationRow operations[] = {
    {"opdouble", 0, &ExpParser::opdouble}, {"opsignal", 0, &ExpParser::opsignal}, {"opnot", 1, &ExpParser::opnot},
    {"opnz", 1, &ExpParser::opnz},         {"opneg", 1, &ExpParser::opneg},       {"opland", 2, &ExpParser::opland},
    {"oplor", 2, &ExpParser::oplor},       {"opdne", 2, &ExpParser::opdne},       {"opdeq", 2, &ExpParser::opdeq},
    {"opbne", 2, &ExpParser::opbne},       {"opbeq", 2, &ExpParser::opbeq},       {"opge", 2, &ExpParser::opge},
    {"ople", 2, &ExpParser::ople},         {"opgt", 2, &ExpParser::opgt},         {"oplt", 2, &ExpParser::oplt},
    {"opexp", 2, &ExpParser::opexp},       {"opdiv", 2, &ExpParser::opdiv},       {"opmult", 2, &ExpParser::opmult},
    {"opminus", 2, &ExpParser::opminus},   {"opplus", 2, &ExpParser::opplus},
};

// The row of an operation, or null.
OperationRow const* findOperation(ExpParser::Operation function);

} // namespace qzsignal
