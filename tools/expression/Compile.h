// From the text of an expression to its program.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "tools/base/Console.h"

#include <memory>
#include <string>

namespace qztool {

// Compiles an expression, whose signals have to be in the registry by now. Null if it is bad: what the parser says is
// reported, and the place shown. `edge` as for `ExpParser`.
std::unique_ptr<ExpParser> compile(std::string const& text, bool edge, Console& console);

} // namespace qztool
