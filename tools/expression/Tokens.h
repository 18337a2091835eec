// The words of an expression, and where they stand.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

struct Token {
    enum class Kind { Name, Keyword, Number, Sign, LineEnd };

    Kind kind;
    std::size_t begin; // offset of the first character
    std::size_t end;   // behind the last one
};

// Splits an expression the way the library's parser does, which gives the line end that closes it as the last token.
// What the parser passes over in silence (blanks, comment lines, characters that mean nothing) belongs to no token.
//
// Names have to be known before the parser runs: it looks for a signal at the very moment that it reads its name.
std::vector<Token> tokensOf(std::string_view expression);

// The names of signals in an expression, each once, in order of appearance.
std::vector<std::string> signalNames(std::string_view expression);

} // namespace qztool
