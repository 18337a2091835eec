// Where the parser gets its tokens from, and how it reports what it cannot parse.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

// The generated scanner has included the generator's header already, and it must not come twice.
#ifndef yyFlexLexerOnce
#define yyFlexLexer expFlexLexer
#include <FlexLexer.h>
#undef yyFlexLexer
#endif

namespace qzsignal {

// What comes with a token: the number of a NUM, the name of a STRING. Names of its size and more are refused.
union TokenValue {
    double d_number;
    char d_name[1024];
};

static_assert(sizeof(TokenValue) == 1024, "");

// Has the next parse read `text`, which the scanner copies. `input` is the stream that it believes to read. One text is
// parsed at a time in a process.
void beginTokens(expFlexLexer& scanner, std::istream& input, std::string const& text);

// The part of it that knows the scanner's buffer.
void scanText(expFlexLexer& scanner, std::istream& input, std::string const& text);

} // namespace qzsignal

// The next token of the ExpParser that is being compiled; 0 at the end.
int explex(qzsignal::TokenValue* value, void* parser);

// Writes an error line with the text from the start of the token before to the end of the one that does not fit; just
// the latter if it is the first.
void experror(char const* message);

// Parses into an ExpParser: 0 if the text is an expression, 1 if not, 2 if it is nested too deeply.
int expparse(void* parser);
