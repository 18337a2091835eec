// Walks over the characters of one line.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace qztool {

inline bool isBlank(char character) {
    return character == ' ' || character == '\t';
}

// Comments of the formats that have none of their own.
inline bool isCommentLine(std::string_view line) {
    std::size_t const first = line.find_first_not_of(" \t");
    return first != std::string_view::npos && line[first] == '#';
}

// The line must outlive the cursor and the words taken from it.
class TextCursor {
public:
    explicit TextCursor(std::string_view line) : d_position(line.data()), d_end(line.data() + line.size()) {}

    bool atEnd() const { return d_position == d_end; }
    // The next character; NUL at the end of the line.
    char peek() const { return atEnd() ? '\0' : *d_position; }
    void advance() { ++d_position; } // not at the end
    std::string_view rest() const { return {d_position, static_cast<std::size_t>(d_end - d_position)}; }
    // Moves over `character` if it comes next.
    bool take(char character) {
        if (atEnd() || *d_position != character)
            return false;
        ++d_position;
        return true;
    }
    void skipBlanks() {
        while (!atEnd() && isBlank(*d_position))
            ++d_position;
    }
    // Moves over spaces and the word after them, which is empty at the end of the line.
    std::string_view word() {
        skipBlanks();
        char const* const start = d_position;
        d_position = std::find_if(start, d_end, isBlank);
        return {start, static_cast<std::size_t>(d_position - start)};
    }

private:
    char const* d_position;
    char const* d_end;
};

} // namespace qztool
