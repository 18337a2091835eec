// Compilation and evaluation of expressions.
#include "qzsignal/expression/ExpParser.h"

#include "qzsignal/expression/CompactProgram.h"
#include "qzsignal/expression/Operations.h"
#include "qzsignal/expression/TokenSource.h"
#include "qzsignal/expression/VirtualTable.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <charconv>
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

expFlexLexer& qzsignal::ParserAccess::scanner(ExpParser& expression) {
    return *expression.lexer;
}

void qzsignal::ParserAccess::reject(ExpParser& expression, char const* message) {
    expression.d_error = errorAtToken(message);
    if (expression.d_purpose == ExpParser::Purpose::Evaluate)
        experror(message);
}

std::string ExpParser::Error::text() const {
    return "expression parser: line " + std::to_string(line) + " " + message + " at '" + context + "'";
}

ExpParser::ExpParser(char const* expression, bool edge, Purpose purpose)
    : lexer(std::make_unique<expFlexLexer>()),
      text(expression != nullptr ? expression : ""),
      edgeTrigger(edge),
      d_purpose(purpose) {}

ExpParser::ExpParser(char const* expression, bool edge) : ExpParser(expression, edge, Purpose::Evaluate) {
    std::string const line = text + '\n';
    if (debug > 1) {
        expdebug = 1;
        lexer->set_debug(1);
    }
    if (debug != 0)
        debugLine("parsing ", line);
    if (!compile()) {
        errorLine("parser error in ExpParser");
        writeLine(std::cerr, "", line);
        return;
    }
    d_compact = std::make_unique<qzsignal::CompactProgram>(program, stack);
    d_compactTable = qzsignal::virtualTableOf(*this); // no derived constructor has begun
    if (debug != 0)
        debugLine("parsed");
    if (debug > 2)
        print(std::cerr);
    allExpParsers.insert(this);
}

ExpParser::~ExpParser() {
    allExpParsers.erase(this);
}

void ExpParser::clear() {
    while (!allExpParsers.empty())
        delete *allExpParsers.begin();
}

// The grammar ends every expression with a newline.
bool ExpParser::compile() {
    if (qzsignal::beginTokens(*lexer, text + '\n'))
        return expparse(this) == 0;
    qzsignal::ParserAccess::reject(*this, "memory exhausted");
    return false;
}

std::optional<ExpParser::Error> ExpParser::check(char const* expression) {
    ExpParser parser(expression, false, Purpose::Check);
    parser.compile();
    return std::move(parser.d_error);
}

std::vector<ExpParser::Mention> ExpParser::mentions(char const* expression) {
    std::vector<Mention> found;
    expFlexLexer scanner;
    std::string const line = std::string(expression != nullptr ? expression : "") + '\n';
    char const* const begin = qzsignal::scanText(scanner, line);
    if (begin == nullptr)
        return found;
    while (int const token = scanner.yylex())
        if (token == STRING)
            found.push_back({scanner.YYText(), static_cast<std::size_t>(scanner.YYText() - begin)});
    return found;
}

std::vector<std::string> ExpParser::signalNames(char const* expression) {
    std::vector<std::string> names;
    for (Mention& each : mentions(expression))
        if (std::find(names.begin(), names.end(), each.name) == names.end())
            names.push_back(std::move(each.name));
    return names;
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
        // The time that a signal without a value reports counts as well.
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
    if (d_purpose == Purpose::Check)
        return;
    BaseSignal* signal = BaseSignal::getInstance(name.c_str());
    if (signal == nullptr)
        signal = new InputSignal(name.c_str());
    append(&ExpParser::opsignal, value_t(signal, name));
    signalMessageIds.insert(qzsignal::messageIdOf(*signal));
}

void ExpParser::add(double constant) {
    append(&ExpParser::opdouble, value_t(constant, std::string()));
}

// A stack with room for as many elements as there are instructions is large enough for any program. It has to grow only
// with instructions that push, which operations of derived classes may do as well.
void ExpParser::append(Operation operation, value_t operand) {
    if (d_purpose == Purpose::Check)
        return;
    d_compact = nullptr; // it is made for a program from a text alone
    d_compactTable = nullptr;
    program.emplace_back(operation, std::move(operand));
    qzsignal::OperationRow const* const row = qzsignal::findOperation(operation);
    bool const pushes = row != nullptr ? row->operands == 0 : operation != nullptr;
    if (pushes)
        stack.size(static_cast<std::uint32_t>(program.size()));
}

char const* ExpParser::nameOf(Operation operation) {
    qzsignal::OperationRow const* const row = qzsignal::findOperation(operation);
    return row != nullptr ? row->name : operation != nullptr ? "unknown" : "none";
}

// Put together apart from the stream, whose format and locale do not show in it.
void ExpParser::print(std::ostream& out) const {
    std::string lines;
    for (auto const& [operation, operand] : program) {
        lines += nameOf(operation);
        if (operation == &ExpParser::opdouble) {
            char number[32];
            lines += ' ';
            lines.append(number, std::to_chars(number, number + sizeof number, operand.value).ptr);
        } else if (!operand.name.empty()) {
            lines += ' ' + operand.name;
        }
        lines += '\n';
    }
    out.write(lines.data(), static_cast<std::streamsize>(lines.size()));
}
