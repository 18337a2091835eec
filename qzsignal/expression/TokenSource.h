// Where the parser gets its tokens from, and the position and message of an error.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/Grammar.hpp"

#include <string_view>

// The class of the scanner. The scanner's own source has it already, and the generator's header must not come twice.
#ifndef yyFlexLexerOnce
#define yyFlexLexer expFlexLexer
#include <FlexLexer.h>
#undef yyFlexLexer
#endif

namespace qzsignal {

// Gives the scanner a text, which it copies, and forgets the tokens of the previous text. False if the text is longer
// than a scanner can count. A process parses one text at a time. The text ends in a newline that is not counted among
// its characters.
bool beginTokens(expFlexLexer& scanner, std::string_view text);

// The part of it that depends on the scanner's buffer. Returns where the copy begins; null if the text is too long.
char const* scanText(expFlexLexer& scanner, std::string_view text);

// The error at the token that was read last.
ExpParser::Error errorAtToken(char const* message);

// The parts of an expression that its scanner and parser need.
class ParserAccess {
public:
    // The scanner that reads the text.
    static expFlexLexer& scanner(ExpParser& expression);
    // Called by the parser, once, if it does not accept the text.
    static void reject(ExpParser& expression, char const* message);
};

} // namespace qzsignal

// Reads the next token of the ExpParser `parser` and returns its code, 0 at the end of the text.
int explex(YYSTYPE* value, void* parser);

// Writes the line of an error at the token that was read last. It shows the text from the start of the previous token
// to the end of the offending one; only the offending one if it is the first, and nothing if the text has no token.
void experror(char const* message);
