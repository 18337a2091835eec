// The operations of expression programs.
#pragma once

#include "qzsignal/expression/ExpParser.h"

#include <cmath>
#include <string>

namespace qzsignal {

// What the operations compute, each written once for whatever runs programs.
namespace results {

// A conversion takes no branch, as a choice between the two numbers would.
inline double truth(bool condition) {
    return static_cast<double>(condition);
}

inline double opnot(double a) {
    return truth(a == 0.0);
}
inline double opnz(double a) {
    return a;
}
inline double opneg(double a) {
    return -a;
}

inline double opland(double a, double b) {
    return truth(a != 0.0 && b != 0.0);
}
inline double oplor(double a, double b) {
    return truth(a != 0.0 || b != 0.0);
}
inline double opdne(double a, double b) {
    return truth(a != b);
}
inline double opdeq(double a, double b) {
    return truth(a == b);
}
// Deliberate, here and in `opbeq`: the right operand alone is made 0 or 1, and the left one compared as it stands.
inline double opbne(double a, double b) {
    return truth(a != truth(b != 0.0));
}
inline double opbeq(double a, double b) {
    return truth(a == truth(b != 0.0));
}
inline double opge(double a, double b) {
    return truth(a >= b);
}
inline double ople(double a, double b) {
    return truth(a <= b);
}
inline double opgt(double a, double b) {
    return truth(a > b);
}
inline double oplt(double a, double b) {
    return truth(a < b);
}
inline double opexp(double a, double b) {
    return std::pow(a, b);
}
inline double opdiv(double a, double b) {
    return a / b;
}
inline double opmult(double a, double b) {
    return a * b;
}
inline double opminus(double a, double b) {
    return a - b;
}
inline double opplus(double a, double b) {
    return a + b;
}

} // namespace results

// The operations that compute, ONE with one operand and TWO with two.
// clang-format off
#define QZSIGNAL_COMPUTING_OPERATIONS(ONE, TWO) \
    ONE(opnot) ONE(opnz) ONE(opneg) \
    TWO(opland) TWO(oplor) TWO(opdne) TWO(opdeq) TWO(opbne) TWO(opbeq) TWO(opge) TWO(ople) TWO(opgt) TWO(oplt) \
    TWO(opexp) TWO(opdiv) TWO(opmult) TWO(opminus) TWO(opplus)
// clang-format on

// One operation. It checks that there are as many elements on the stack as it takes, and leaves one result for them.
struct OperationRow {
    char const* name;
    unsigned int operands; // elements that it takes from the stack; 0: it only pushes
    ExpParser::Operation function;
};

// Those that compute come first, in the order of their list.
// clang-format off
inline constexpr OperationRow operations[] = {
#define QZSIGNAL_ONE(name) {#name, 1, &ExpParser::name},
#define QZSIGNAL_TWO(name) {#name, 2, &ExpParser::name},
    QZSIGNAL_COMPUTING_OPERATIONS(QZSIGNAL_ONE, QZSIGNAL_TWO)
#undef QZSIGNAL_ONE
#undef QZSIGNAL_TWO
    {"opdouble", 0, &ExpParser::opdouble},
    {"opsignal", 0, &ExpParser::opsignal},
};
// clang-format on

// The row of an operation, or null.
OperationRow const* findOperation(ExpParser::Operation function);

// Says, if expressions are debugged, that the program ends because the signal of this name has no value.
void reportNoValue(std::string const& name);

} // namespace qzsignal
