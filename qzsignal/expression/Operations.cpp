// The operations as members of ExpParser, on its stack.
#include "qzsignal/expression/Operations.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <iterator>

namespace {

void apply(Stack<double>& stack, double (*function)(qzsignal::Number)) {
    stack.check(1);
    stack.back() = function(stack.back());
}

void apply(Stack<double>& stack, double (*function)(qzsignal::Number, qzsignal::Number)) {
    stack.check(2);
    double const b = stack.pop();
    stack.back() = function(stack.back(), b);
}

} // namespace

#define QZSIGNAL_MEMBER(name, operands, result)                                                                        \
    void ExpParser::name() {                                                                                           \
        apply(stack, &qzsignal::results::name);                                                                        \
    }
QZSIGNAL_OPERATIONS(QZSIGNAL_MEMBER)
#undef QZSIGNAL_MEMBER

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

qzsignal::OperationRow const* qzsignal::findOperation(ExpParser::Operation function) {
    auto const row = std::find_if(std::begin(operations), std::end(operations),
                                  [function](OperationRow const& each) { return each.function == function; });
    return row != std::end(operations) ? row : nullptr;
}

void qzsignal::reportNoValue(std::string const& name) {
    if (ExpParser::debug != 0)
        writeLine(std::cerr, "", "abort expression program due to (yet) invalid signal \"", name, "\"");
}
