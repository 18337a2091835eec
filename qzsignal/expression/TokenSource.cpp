// The road from an expression's text to the parser, token by token.
#include "qzsignal/expression/TokenSource.h"

#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/signal/Diagnostics.h"

#include <cstdlib>
#include <cstring>

namespace {

// The scanner's line before it read the current token, and the start of the token before that.
int errorLineNumber = 1;
char const* errorText = nullptr; // null: no token was read yet

} // namespace

bool qzsignal::beginTokens(expFlexLexer& scanner, std::string_view text) {
    errorLineNumber = 1;
    errorText = nullptr;
    if (scanText(scanner, text))
        return true;
    experror("memory exhausted");
    return false;
}

int explex(YYSTYPE* value, void* parser) {
    expFlexLexer& scanner = qzsignal::scannerOf(*static_cast<ExpParser*>(parser));
    bool const first = errorText == nullptr;
    errorLineNumber = scanner.lineno();
    if (!first)
        errorText = scanner.YYText();
    int const token = scanner.yylex();
    if (first)
        errorText = scanner.YYText();

    if (token == NUM) {
        value->number = std::strtod(scanner.YYText(), nullptr);
    } else if (token == STRING) {
        auto const length = static_cast<std::size_t>(scanner.YYLeng());
        if (length >= sizeof value->name)
            return EXPUNDEF; // no room for it: fits nowhere in the grammar
        std::memcpy(value->name, scanner.YYText(), length);
        value->name[length] = '\0';
    }
    return token;
}

// Deliberate: the text begins with the token before the offending one, which shows the error in its context. The
// scanner ends each token where it stands, so nothing of what follows is shown.
void experror(char const* message) {
    qzsignal::errorLine("expression parser: line ", errorLineNumber, " ", message, " at '",
                        errorText != nullptr ? errorText : "", "'");
}
