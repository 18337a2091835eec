// From the text of an expression to its program.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "tools/base/Console.h"

#include <memory>
#include <string>

namespace qztool {

// Compiles an expression whose signals are in the registry. If the text is wrong, reports the parser's message and the
// place of the error, and returns null. `edge` as for `ExpParser`.
std::unique_ptr<ExpParser> compile(std::string const& text, bool edge, Console& console);

// Reports why a text is not an expression: the parser's message and the place of the error.
void reportError(ExpParser::Error const& error, std::string const& text, Console& console);

} // namespace qztool
