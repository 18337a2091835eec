// What the operations do.
#include "qzsignal/expression/Operations.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <iterator>

namespace {

namespace results = qzsignal::results;

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

void qzsignal::reportNoValue(std::string const& name) {
    if (ExpParser::debug != 0)
        writeLine(std::cerr, "", "abort expression program due to (yet) invalid signal \"", name, "\"");
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
    qzsignal::reportNoValue(pc->second.name);
    stack.clear();
    stack.push(0.0);
    pc = program.end() - 1;
}

void ExpParser::opnot() {
    unary(stack, results::opnot);
}

void ExpParser::opnz() {
    unary(stack, results::opnz);
}

void ExpParser::opneg() {
    unary(stack, results::opneg);
}

void ExpParser::opland() {
    binary(stack, results::opland);
}

void ExpParser::oplor() {
    binary(stack, results::oplor);
}

void ExpParser::opdne() {
    binary(stack, results::opdne);
}

void ExpParser::opdeq() {
    binary(stack, results::opdeq);
}

void ExpParser::opbne() {
    binary(stack, results::opbne);
}

void ExpParser::opbeq() {
    binary(stack, results::opbeq);
}

void ExpParser::opge() {
    binary(stack, results::opge);
}

void ExpParser::ople() {
    binary(stack, results::ople);
}

void ExpParser::opgt() {
    binary(stack, results::opgt);
}

void ExpParser::oplt() {
    binary(stack, results::oplt);
}

void ExpParser::opexp() {
    binary(stack, results::opexp);
}

void ExpParser::opdiv() {
    binary(stack, results::opdiv);
}

void ExpParser::opmult() {
    binary(stack, results::opmult);
}

void ExpParser::opminus() {
    binary(stack, results::opminus);
}

void ExpParser::opplus() {
    binary(stack, results::opplus);
}
