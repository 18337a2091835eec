// Texts from other processes, made fit for a terminal.
#pragma once

#include <string>

namespace qztool {

// Not to be put out: it could do more than be read.
inline bool isControlCharacter(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

// Anybody can name a file in /tmp and write a unit into a record: control characters, with which a text could do more
// than be read, become question marks.
inline std::string printable(std::string text) {
    for (char& c : text)
        if (isControlCharacter(c))
            c = '?';
    return text;
}

} // namespace qztool
