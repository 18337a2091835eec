// Takes the text of a LIN description file apart: words, texts and marks, with their lines.
#pragma once

#include "tools/definitions/Database.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace qztool {

// Word: a run of letters, digits, `_ . + -` and characters beyond ASCII, thus numerals as well. Text: what quotes
// enclose. Unclosed: a text that its line does not close, up to the end of the line. Mark: any other character.
enum class LdfTokenKind { Word, Text, Unclosed, Mark, End };

struct LdfToken {
    LdfTokenKind kind = LdfTokenKind::End;
    std::string_view text; // refers to the text of the file
    std::size_t line = 0;
    bool firstInLine = false;
};

// All tokens of plain text (UTF-8, line feeds), ended by one of kind End. Comments are skipped, and one that is not
// closed is reported.
std::vector<LdfToken> scanLdf(std::string_view text, std::vector<Problem>& problems);

// The first word of the text; empty if it begins with anything else but comments.
std::string_view firstWordOfLdf(std::string_view text);

} // namespace qztool
