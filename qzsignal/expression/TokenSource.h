// Where the parser gets its tokens from, and how it reports what it cannot parse.
#pragma once

#include "qzsignal/expression/Grammar.hpp"

#include <string_view>

// The class of the scanner. The scanner's own source has it already, and the generator's header must not come twice.
#ifndef yyFlexLexerOnce
#define yyFlexLexer expFlexLexer
#include <FlexLexer.h>
#undef yyFlexLexer
#endif

namespace qzsignal {

// Gives the scanner a text, which it copies, and forgets the tokens of the text before. False, and an error line, if
// the text is longer than a scanner can count. One text is parsed at a time in a process.
bool beginTokens(expFlexLexer& scanner, std::string_view text);

// The part of it that knows the scanner's buffer.
bool scanText(expFlexLexer& scanner, std::string_view text);

} // namespace qzsignal

// Reads the next token of the ExpParser `parser` and returns its code, 0 at the end of the text.
int explex(YYSTYPE* value, void* parser);

// Writes an error line. It shows the text from the start of the previous token to the end of the offending one; that
// one alone if it is the first, and nothing if the text has no token at all.
void experror(char const* message);
