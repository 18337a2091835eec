// What a log reader makes of one line.
#pragma once

#include <cstddef>

namespace qztool {

enum class LineKind {
    Frame, // a classic CAN data frame, the only kind whose content is read
    FdFrame,
    RemoteFrame,
    ErrorFrame,
    Other, // blank, header, comment or an event of another kind
    Malformed
};

constexpr std::size_t lineKinds = 6;

struct ParsedLine {
    LineKind kind = LineKind::Other;
    char const* cause = nullptr; // of Malformed: static text, plain words such as "odd number of data digits"
};

inline ParsedLine malformedLine(char const* cause) {
    return {LineKind::Malformed, cause};
}

} // namespace qztool
