// What signals are called, so that expressions can name them.
#pragma once

#include "tools/definitions/Database.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace qztool {

// The spelling of the files: "Message.Signal", with the PDU in between ("Frame.Pdu.Signal") if the message has several
// signals of this name. `signal` is an index.
std::string originalName(MessageDefinition const& message, std::size_t signal);

// The name with `_` in place of each character that an expression cannot hold in a name, and with one in front if it
// does not begin with a letter or `_`.
std::string expressionName(std::string_view original);

// True if that is the name itself.
bool isExpressionName(std::string_view name);

} // namespace qztool
