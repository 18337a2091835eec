// The road from an expression's text to the parser, token by token.
#include "qzsignal/expression/TokenSource.h"

#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/Grammar.hpp"
#include "qzsignal/signal/Diagnostics.h"

#include <cstdlib>
#include <cstring>

namespace {

// Where the token before the current one stands.
int lastLine = 1;
char const* lastText = nullptr; // null: no token came yet

} // namespace

void qzsignal::beginTokens(expFlexLexer& scanner, std::istream& input, std::string const& text) {
    lastLine = 1;
    lastText = nullptr;
    scanText(scanner, input, text);
}

int explex(qzsignal::TokenValue* value, void* parser) {
    expFlexLexer& scanner = *static_cast<ExpParser*>(parser)->lexer;
    bool const first = lastText == nullptr;
    lastLine = scanner.lineno();
    if (!first)
        lastText = scanner.YYText();
    int const token = scanner.yylex();
    if (first)
        lastText = scanner.YYText();
    if (token == NUM) {
        value->d_number = std::strtod(scanner.YYText(), nullptr);
    } else if (token == STRING) {
        auto const length = static_cast<std::size_t>(scanner.YYLeng());
        if (length >= sizeof value->d_name)
            return EXPUNDEF;
        std::memcpy(value->d_name, scanner.YYText(), length);
        value->d_name[length] = '\0';
    }
    return token;
}

// Deliberate: the text begins with the token before the offending one, which shows the error in its context. The
// scanner ends each token where it stands, so nothing of what follows is shown.
void experror(char const* message) {
    qzsignal::errorLine("expression parser: line ", lastLine, " ", message, " at '", lastText, "'");
}
