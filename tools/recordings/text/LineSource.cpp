// Buffering and line ends.
#include "tools/recordings/text/LineSource.h"

#include "tools/base/StopRequest.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace qztool {

LineSource::Next LineSource::next(std::string_view& line) {
    for (;;) {
        char const* const searched = d_buffer.data() + d_searched;
        if (void const* const found = std::memchr(searched, '\n', d_end - d_searched)) {
            auto const behindSearched = static_cast<std::size_t>(static_cast<char const*>(found) - searched);
            std::size_t const length = d_searched + behindSearched - d_begin;
            Next const result = handOut(length, line);
            d_begin += length + 1;
            d_searched = d_begin;
            return result;
        }
        d_searched = d_end;
        // One byte more than the limit may be the "\r" of a line end.
        if (d_skipping || d_end - d_begin > longestLine + 1) {
            skipBuffered();
        }
        Fill const filled = fill();
        if (filled == Fill::End) {
            return endOfInput(line);
        }
        if (filled != Fill::Done) {
            return resultOf(filled);
        }
    }
}

LineSource::Next LineSource::peek(std::string_view& bytes) {
    if (d_begin == d_end) {
        Fill const filled = fill();
        if (filled != Fill::Done) {
            return resultOf(filled);
        }
    }
    bytes = {d_buffer.data() + d_begin, d_end - d_begin};
    return Next::Line;
}

// Takes what one read has to offer. There is always room: what is kept is never much longer than a line may be.
LineSource::Fill LineSource::fill() {
    std::memmove(d_buffer.data(), d_buffer.data() + d_begin, d_end - d_begin);
    d_searched -= d_begin;
    d_end -= d_begin;
    d_begin = 0;
    if (!awaitInput(d_descriptor)) {
        return Fill::Interrupted;
    }
    ssize_t const count = read(d_descriptor, d_buffer.data() + d_end, d_buffer.size() - d_end);
    if (count < 0) {
        d_error = errno;
        return d_error == EINTR ? Fill::Interrupted : Fill::Failed;
    }
    if (count == 0) {
        return Fill::End;
    }
    d_end += static_cast<std::size_t>(count);
    d_bytesRead += static_cast<std::uint64_t>(count);
    return Fill::Done;
}

// The last line may lack its line end.
LineSource::Next LineSource::endOfInput(std::string_view& line) {
    if (d_begin == d_end && !d_skipping) {
        return Next::End;
    }
    Next const result = handOut(d_end - d_begin, line);
    d_begin = d_end;
    d_searched = d_end;
    return result;
}

LineSource::Next LineSource::handOut(std::size_t length, std::string_view& line) {
    line = {d_buffer.data() + d_begin, length};
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    bool const tooLong = d_skipping || line.size() > longestLine;
    d_skipping = false;
    return tooLong ? Next::TooLong : Next::Line;
}

void LineSource::skipBuffered() {
    d_skipping = true;
    d_begin = d_end;
    d_searched = d_end;
}

LineSource::Next LineSource::resultOf(Fill fill) {
    switch (fill) {
    case Fill::Interrupted:
        return Next::Interrupted;
    case Fill::Failed:
        return Next::Failed;
    default:
        return Next::End;
    }
}

} // namespace qztool
