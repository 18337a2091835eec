// Compilation and evaluation of expressions.
#include "qzsignal/expression/ExpParser.h"

#include "qzsignal/expression/TokenSource.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

using qzsignal::debugLine;
using qzsignal::errorLine;
using qzsignal::writeLine;

double truth(bool condition) {
    return condition ? 1.0 : 0.0;
}

} // namespace

std::set<ExpParser*> ExpParser::allExpParsers;
int ExpParser::debug = 0;

template <typename T>
void Stack<T>::underflow(unsigned int n) const {
    // Deliberate: it is called so whatever it holds.
    writeLine(std::cerr, "", "Less than ", n, " elements on bool stack (", depth(), ")");
    std::exit(4);
}

template class Stack<double>;

ExpParser::ExpParser(char const* expression, bool edge)
    : lexer(new expFlexLexer(nullptr, nullptr)), text(expression != nullptr ? expression : ""), edgeTrigger(edge) {
    // The grammar ends every expression with a newline.
    std::string const line = text + '\n';
    if (debug > 1) {
        expdebug = 1;
        lexer->set_debug(1);
    }
    if (debug != 0)
        debugLine("parsing ", line);
    std::istream nothing(nullptr); // the scanner has the whole text from the beginning
    qzsignal::beginTokens(*lexer, nothing, line);
    if (expparse(this) != 0) {
        errorLine("parser error in ExpParser");
        writeLine(std::cerr, "", line);
        return;
    }
    if (debug != 0)
        debugLine("parsed");
    allExpParsers.insert(this);
}

ExpParser::~ExpParser() {
    allExpParsers.erase(this);
}

void ExpParser::clear() {
    while (!allExpParsers.empty())
        delete *allExpParsers.begin();
}

double ExpParser::getValue() {
    clearstack();
    for (pc = program.begin(); pc != program.end(); ++pc)
        (this->*pc->first)();
    if (stack.depth() != 1) {
        writeLine(std::cerr, "", "stacksizes wrong at end of program: double(", stack.depth(), ")");
        std::exit(2);
    }
    return stack.back();
}

bool ExpParser::getTrigger() {
    bool const condition = getValue() > 0.0;
    if (!edgeTrigger)
        return condition;
    if (condition == lastTrigger)
        return false;
    lastTrigger = condition;
    return condition;
}

bool ExpParser::isWritten() {
    written = written || std::all_of(program.begin(), program.end(), [](Instruction const& instruction) {
                  unsigned long long raw = 0;
                  unsigned long long time = 0;
                  return instruction.second.name.empty() || instruction.second.signal->read(raw, time);
              });
    return written;
}

unsigned long long ExpParser::getLastestTime() const {
    unsigned long long latest = 0;
    for (Instruction const& instruction : program) {
        if (instruction.second.name.empty())
            continue;
        unsigned long long raw = 0;
        unsigned long long time = 0;
        instruction.second.signal->read(raw, time);
        latest = std::max(latest, time);
    }
    return latest;
}

void ExpParser::clearstack() {
    stack.clear();
}

void ExpParser::add(Instruction const& instruction) {
    program.push_back(instruction);
    // The parser appends what pushes by other means, which see to the stack.
    if (instruction.first == &ExpParser::opdouble || instruction.first == &ExpParser::opsignal)
        stack.reserve(static_cast<std::uint32_t>(program.size()));
}

void ExpParser::add(Operation operation) {
    program.push_back({operation, value_t()});
}

void ExpParser::add(std::string const& name) {
    BaseSignal* signal = BaseSignal::getInstance(name.c_str());
    if (signal == nullptr)
        signal = new InputSignal(name.c_str());
    value_t operand;
    operand.signal = signal;
    operand.name = name;
    add(Instruction(&ExpParser::opsignal, operand));
    signalMessageIds.insert(qzsignal::messageIdOf(*signal));
}

void ExpParser::add(double constant) {
    value_t operand;
    operand.value = constant;
    add(Instruction(&ExpParser::opdouble, operand));
}

template <typename Function>
void ExpParser::unary(Function function) {
    stack.check(1);
    stack.back() = function(stack.back());
}

template <typename Function>
void ExpParser::binary(Function function) {
    stack.check(2);
    double const right = stack.pop();
    stack.back() = function(stack.back(), right);
}

void ExpParser::opdouble() {
    stack.push(pc->second.value);
}

void ExpParser::opsignal() {
    double phys = 0;
    unsigned long long time = 0;
    if (pc->second.signal != nullptr && pc->second.signal->read(phys, time)) {
        stack.push(phys);
        return;
    }
    // The result is then 0, and what is left of the program is not run.
    if (debug != 0)
        writeLine(std::cerr, "", "abort expression program due to (yet) invalid signal \"", pc->second.name, "\"");
    stack.clear();
    stack.push(0.0);
    pc = program.end() - 1;
}

void ExpParser::opnot() {
    unary([](double a) { return truth(a == 0.0); });
}

// A number as a condition keeps its value: 0 is false, everything else true.
void ExpParser::opnz() {
    stack.check(1);
}

void ExpParser::opneg() {
    unary([](double a) { return -a; });
}

void ExpParser::opland() {
    binary([](double a, double b) { return truth(a != 0.0 && b != 0.0); });
}

void ExpParser::oplor() {
    binary([](double a, double b) { return truth(a != 0.0 || b != 0.0); });
}

void ExpParser::opdne() {
    binary([](double a, double b) { return truth(a != b); });
}

void ExpParser::opdeq() {
    binary([](double a, double b) { return truth(a == b); });
}

// Deliberate, here and in `opbeq`: only the right operand is taken as a condition, the left one as it stands.
void ExpParser::opbne() {
    binary([](double a, double b) { return truth(a != truth(b != 0.0)); });
}

void ExpParser::opbeq() {
    binary([](double a, double b) { return truth(a == truth(b != 0.0)); });
}

void ExpParser::opge() {
    binary([](double a, double b) { return truth(a >= b); });
}

void ExpParser::ople() {
    binary([](double a, double b) { return truth(a <= b); });
}

void ExpParser::opgt() {
    binary([](double a, double b) { return truth(a > b); });
}

void ExpParser::oplt() {
    binary([](double a, double b) { return truth(a < b); });
}

void ExpParser::opexp() {
    binary([](double a, double b) { return std::pow(a, b); });
}

void ExpParser::opdiv() {
    binary([](double a, double b) { return a / b; });
}

void ExpParser::opmult() {
    binary([](double a, double b) { return a * b; });
}

void ExpParser::opminus() {
    binary([](double a, double b) { return a - b; });
}

void ExpParser::opplus() {
    binary([](double a, double b) { return a + b; });
}
