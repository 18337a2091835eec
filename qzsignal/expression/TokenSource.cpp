// The path from an expression's text to the parser, token by token.
#include "qzsignal/expression/TokenSource.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// Where the parser is in its text.
struct Place {
    char const* d_text = nullptr;    // the scanner's copy
    std::size_t d_length = 0;        // without the newline at its end
    int d_line = 1;                  // of the scanner, before it read the current token
    char const* d_context = nullptr; // the start of the previous token; null: no token was read yet
    char const* d_token = nullptr;   // the current token
    std::size_t d_tokenLength = 0;
};

Place place;

} // namespace

bool qzsignal::beginTokens(expFlexLexer& scanner, std::string_view text) {
    place = Place();
    place.d_text = scanText(scanner, text);
    place.d_length = text.empty() ? 0 : text.size() - 1;
    return place.d_text != nullptr;
}

int explex(YYSTYPE* value, void* parser) {
    expFlexLexer& scanner = qzsignal::ParserAccess::scanner(*static_cast<ExpParser*>(parser));
    bool const first = place.d_context == nullptr;
    place.d_line = scanner.lineno();
    if (!first)
        place.d_context = scanner.YYText();
    int const token = scanner.yylex();
    if (first)
        place.d_context = scanner.YYText();
    auto const length = static_cast<std::size_t>(scanner.YYLeng());
    place.d_token = token != 0 ? scanner.YYText() : nullptr;
    place.d_tokenLength = length;

    if (token == NUM) {
        value->number = std::strtod(scanner.YYText(), nullptr);
    } else if (token == STRING) {
        if (length >= sizeof value->name)
            return EXPUNDEF; // no room for it: fits nowhere in the grammar
        std::memcpy(value->name, scanner.YYText(), length);
        value->name[length] = '\0';
    }
    return token;
}

// Deliberate: the context begins with the token before the offending one. The scanner ends each token in place, so
// nothing of what follows is shown.
ExpParser::Error qzsignal::errorAtToken(char const* message) {
    ExpParser::Error error;
    error.message = message;
    error.line = place.d_line;
    if (place.d_context != nullptr)
        error.context = place.d_context;
    error.begin = error.end = place.d_length;
    if (place.d_token != nullptr) {
        auto const begin = static_cast<std::size_t>(place.d_token - place.d_text);
        error.begin = std::min(begin, place.d_length);
        error.end = std::min(begin + place.d_tokenLength, place.d_length);
    }
    return error;
}

void experror(char const* message) {
    qzsignal::errorLine(qzsignal::errorAtToken(message).text());
}
