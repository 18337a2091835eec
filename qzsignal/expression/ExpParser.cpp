// Compilation and evaluation of expressions.
#include "qzsignal/expression/ExpParser.h"

#include "qzsignal/expression/CompactProgram.h"
#include "qzsignal/expression/Operations.h"
#include "qzsignal/expression/TokenSource.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <utility>

namespace {

using qzsignal::debugLine;
using qzsignal::errorLine;
using qzsignal::writeLine;

bool holdsValue(ExpParser::value_t const& operand, unsigned long long& timestamp) {
    unsigned long long value = 0;
    return operand.signal != nullptr && operand.signal->read(value, timestamp);
}

} // namespace

std::set<ExpParser*> ExpParser::allExpParsers;
int ExpParser::debug = 0;

expFlexLexer& qzsignal::scannerOf(ExpParser& expression) {
    return *expression.lexer;
}

ExpParser::ExpParser(char const* expression, bool edge)
    : lexer(std::make_unique<expFlexLexer>()), text(expression != nullptr ? expression : ""), edgeTrigger(edge) {
    // The grammar ends every expression with a newline.
    std::string const line = text + '\n';
    if (debug > 1) {
        expdebug = 1;
        lexer->set_debug(1);
    }
    if (debug != 0)
        debugLine("parsing ", line);
    if (!qzsignal::beginTokens(*lexer, line) || expparse(this) != 0) {
        errorLine("parser error in ExpParser");
        writeLine(std::cerr, "", line);
        return;
    }
    d_compact = std::make_unique<qzsignal::CompactProgram>(program);
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
    unsigned long long timestamp = 0;
    written = written || std::all_of(program.begin(), program.end(), [&timestamp](Instruction const& each) {
                  return each.second.name.empty() || holdsValue(each.second, timestamp);
              });
    return written;
}

unsigned long long ExpParser::getLastestTime() const {
    unsigned long long latest = 0;
    for (Instruction const& each : program) {
        if (each.second.name.empty())
            continue;
        // What a signal that holds no value says of its time counts as well.
        unsigned long long timestamp = 0;
        holdsValue(each.second, timestamp);
        latest = std::max(latest, timestamp);
    }
    return latest;
}

void ExpParser::clearstack() {
    stack.clear();
}

void ExpParser::add(Instruction const& instruction) {
    append(instruction.first, instruction.second);
}

void ExpParser::add(Operation operation) {
    append(operation, value_t());
}

void ExpParser::add(std::string const& name) {
    BaseSignal* signal = BaseSignal::getInstance(name.c_str());
    if (signal == nullptr)
        signal = new InputSignal(name.c_str());
    append(&ExpParser::opsignal, value_t(signal, name));
    signalMessageIds.insert(qzsignal::messageIdOf(*signal));
}

void ExpParser::add(double constant) {
    append(&ExpParser::opdouble, value_t(constant, std::string()));
}

// Room for as many elements as there are instructions is enough for any program. It has to grow only with what pushes,
// which is also what a derived class may add of its own.
void ExpParser::append(Operation operation, value_t operand) {
    if (operation == nullptr)
        return; // nothing that could be run
    // What is added to a finished program may be anything.
    d_compact = nullptr;
    program.emplace_back(operation, std::move(operand));
    qzsignal::OperationRow const* const row = qzsignal::findOperation(operation);
    if (row == nullptr || row->operands == 0)
        stack.size(static_cast<std::uint32_t>(program.size()));
}
