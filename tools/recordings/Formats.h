// The formats of recordings.
#pragma once

#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/InputBuffer.h"

#include <memory>
#include <string_view>

namespace qztool {

class LineFormat;

// A format is detected from the recording's content alone: formats of lines by a line that can only be one of theirs,
// which need not be the first; other formats by the first bytes.
struct RecordingFormat {
    char const* name; // such as "BLF"
    // Looks at a line of text without its end, or at the first bytes, of which there are at least `formatBytes`, unless
    // the recording has fewer or begins with a shorter line.
    bool (*looksLike)(std::string_view start);
    // One of the two is null. A format of lines has nothing to read but single lines (see text/LineFormat.h).
    std::unique_ptr<LineFormat> (*makeLineFormat)();
    std::unique_ptr<FrameReader> (*open)(InputBuffer& input, Findings& findings);
};

constexpr std::size_t formatBytes = 16;

// The format without lines that begins with these bytes; null: none.
RecordingFormat const* binaryFormatOf(std::string_view bytes);
// The format that this line belongs to; null: any, or none.
RecordingFormat const* lineFormatOf(std::string_view line);
// Names of the formats of lines for a message: "neither a candump nor an ASC, TRC or GVRET line".
char const* noLineFormat();

} // namespace qztool
