// What a format of recordings implements: the way from bytes to frames.
#pragma once

#include "tools/recordings/Frame.h"

#include <cstdint>
#include <optional>

namespace qztool {

// Reads from an InputBuffer that outlives it, from its first byte on, and reports to Findings that do so, too. Reading
// a frame allocates nothing.
class FrameReader {
public:
    enum class Next {
        Frame,
        End,        // or a problem that the findings hold
        Interrupted // by a signal or a request to stop, or after much input without a frame; call again to go on
    };

    virtual ~FrameReader() = default;

    // Moves to the next frame of any kind, data, remote or error; `frame` is unspecified unless the result is Frame.
    virtual Next next(Frame& frame) = 0;
    // Lines or objects so far, which includes that of the current frame; containers of objects do not count.
    virtual std::uint64_t place() const = 0;
    // What `place` counts: "line", "object" or "packet".
    virtual char const* placeKind() const = 0;
    // What the frames' times count from, in microseconds since 1970: the start of the recording, or 0 if they count
    // from 1970. None: the recording does not say. Known with the first frame.
    virtual std::optional<std::uint64_t> startTime() const = 0;
};

} // namespace qztool
