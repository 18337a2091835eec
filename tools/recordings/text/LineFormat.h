// What a format of lines implements: the way from one line to a frame.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/ParsedLine.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// Gets the lines of a recording in order, from the first one that looks like its format on, and may keep what headers
// say. Allocates nothing.
class LineFormat {
public:
    virtual ~LineFormat() = default;

    // Called once, before the first line: with all that is there already of the recording from that line on. On a pipe,
    // that may be no more than the line.
    virtual void lookAhead(std::string_view lines) { static_cast<void>(lines); }
    // Reads the next line, which comes without its end. `frame` is valid if the kind is Frame, and unspecified
    // otherwise.
    virtual ParsedLine parse(std::string_view line, Frame& frame) = 0;
    // False if the time in a frame's line depends on the lines before it.
    virtual bool linesHaveTheirTimes() const { return true; }
    // As FrameReader's, by the lines so far.
    virtual std::optional<std::uint64_t> startTime() const = 0;
};

} // namespace qztool
