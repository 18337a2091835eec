// What a format of lines implements: the way from one line to a frame.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/ParsedLine.h"

#include <cstdint>
#include <string_view>

namespace qztool {

// Gets the lines of a recording in order, from the first one that looks like its format on, and may keep what headers
// say. Allocates nothing.
class LineFormat {
public:
    virtual ~LineFormat() = default;

    // Reads the next line, which comes without its end. `frame` is valid if the kind is Frame, and unspecified
    // otherwise.
    virtual ParsedLine parse(std::string_view line, Frame& frame) = 0;
    // As FrameReader's, by the lines so far.
    virtual std::uint64_t startTime() const { return 0; }
};

} // namespace qztool
