// What a format of lines makes of one line.
#pragma once

namespace qztool {

enum class LineKind {
    Frame, // of any kind: data, remote or error
    Other, // blank, header, comment or an event of another kind
    Malformed
};

// Small enough to be returned in registers, as every line is.
struct ParsedLine {
    constexpr ParsedLine(LineKind lineKind = LineKind::Other, char const* lineCause = nullptr, bool header = false)
        : kind(lineKind), isHeader(header), cause(lineCause) {}

    LineKind kind;
    // Of Other: it says how the lines after it are to be read, or when the recording began.
    bool isHeader;
    // Of Malformed: static text, plain words such as "odd number of data digits". Of Other: the kind of an event that
    // is not read, such as "CAN statistics", likewise; null for blank lines, headers and comments.
    char const* cause;
};

inline ParsedLine malformedLine(char const* cause) {
    return {LineKind::Malformed, cause};
}

inline ParsedLine headerLine() {
    return {LineKind::Other, nullptr, true};
}

inline ParsedLine skippedEvent(char const* kind) {
    return {LineKind::Other, kind};
}

} // namespace qztool
