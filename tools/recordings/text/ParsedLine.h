// What a format of lines makes of one line.
#pragma once

namespace qztool {

enum class LineKind {
    Frame, // of any kind: data, remote or error
    Other, // blank, header, comment or an event of another kind
    Malformed
};

struct ParsedLine {
    LineKind kind = LineKind::Other;
    char const* cause = nullptr; // of Malformed: static text, plain words such as "odd number of data digits"
};

inline ParsedLine malformedLine(char const* cause) {
    return {LineKind::Malformed, cause};
}

} // namespace qztool
