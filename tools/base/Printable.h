// Texts from other processes, made fit for a terminal.
#pragma once

#include <string>

namespace qztool {

// Anybody can name a file in /tmp and write a unit into a record: control characters, with which a text could do more
// than be read, become question marks.
inline std::string printable(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f')
            c = '?';
    return text;
}

} // namespace qztool
