// What the operations do.
#include "qzsignal/expression/Operations.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

double truth(bool condition) {
    return condition ? 1.0 : 0.0;
}

template <typename Function>
void unary(Stack<double>& stack, Function function) {
    stack.check(1);
    stack.back() = function(stack.back());
}

template <typename Function>
void binary(Stack<double>& stack, Function function) {
    stack.check(2);
    double const b = stack.pop();
    stack.back() = function(stack.back(), b);
}

} // namespace

qzsignal::OperationRow const* qzsignal::findOperation(ExpParser::Operation function) {
    auto const row = std::find_if(std::begin(operations), std::end(operations),
                                  [function](OperationRow const& each) { return each.function == function; });
    return row != std::end(operations) ? row : nullptr;
}

void ExpParser::opdouble() {
    stack.push(pc->second.value);
}

void ExpParser::opsignal() {
    BaseSignal* const signal = pc->second.signal;
    double phys = 0.0;
    unsigned long long timestamp = 0;
    if (signal != nullptr && signal->read(phys, timestamp)) {
        stack.push(phys);
        return;
    }
    if (debug != 0)
        qzsignal::writeLine(std::cerr, "", "abort expression program due to (yet) invalid signal \"", pc->second.name,
                            "\"");
    stack.clear();
    stack.push(0.0);
    pc = program.end() - 1;
}

void ExpParser::opnot() {
    unary(stack, [](double a) { return truth(a == 0.0); });
}

void ExpParser::opnz() {
    stack.check(1);
}

void ExpParser::opneg() {
    unary(stack, [](double a) { return -a; });
}

void ExpParser::opland() {
    binary(stack, [](double a, double b) { return truth(a != 0.0 && b != 0.0); });
}

void ExpParser::oplor() {
    binary(stack, [](double a, double b) { return truth(a != 0.0 || b != 0.0); });
}

void ExpParser::opdne() {
    binary(stack, [](double a, double b) { return truth(a != b); });
}

void ExpParser::opdeq() {
    binary(stack, [](double a, double b) { return truth(a == b); });
}

// Deliberate, here and in `opbeq`: the right operand alone is made 0 or 1, and the left one compared as it stands.
void ExpParser::opbne() {
    binary(stack, [](double a, double b) { return truth(a != truth(b != 0.0)); });
}

void ExpParser::opbeq() {
    binary(stack, [](double a, double b) { return truth(a == truth(b != 0.0)); });
}

void ExpParser::opge() {
    binary(stack, [](double a, double b) { return truth(a >= b); });
}

void ExpParser::ople() {
    binary(stack, [](double a, double b) { return truth(a <= b); });
}

void ExpParser::opgt() {
    binary(stack, [](double a, double b) { return truth(a > b); });
}

void ExpParser::oplt() {
    binary(stack, [](double a, double b) { return truth(a < b); });
}

void ExpParser::opexp() {
    binary(stack, [](double a, double b) { return std::pow(a, b); });
}

void ExpParser::opdiv() {
    binary(stack, [](double a, double b) { return a / b; });
}

void ExpParser::opmult() {
    binary(stack, [](double a, double b) { return a * b; });
}

void ExpParser::opminus() {
    binary(stack, [](double a, double b) { return a - b; });
}

void ExpParser::opplus() {
    binary(stack, [](double a, double b) { return a + b; });
}
