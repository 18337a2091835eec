// The part of a byte source that was read but not consumed yet.
#pragma once

#include "tools/recordings/ByteSource.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace qztool {

// Reads in big chunks, but takes what a pipe has to offer and never waits for more than it was asked for.
class InputBuffer {
public:
    using Read = ByteSource::Read;

    static constexpr std::size_t capacity = std::size_t{256} * 1024;

    explicit InputBuffer(ByteSource& source) : d_source(source), d_buffer(capacity) {}

    // What is there; valid until the next `fill` or `require`.
    std::string_view bytes() const { return {d_buffer.data() + d_begin, d_end - d_begin}; }
    // Gives up the first `count` of these.
    void consume(std::size_t count) { d_begin += count; }
    // Appends what one read has to offer. At most `capacity` bytes can be there at a time.
    Read fill();
    // Bytes: there are at least `count`. Otherwise there may be fewer, and reading ended as the result says.
    Read require(std::size_t count) { return d_end - d_begin >= count ? Read::Bytes : fillUp(count); }

    ByteSource const& source() const { return d_source; }

private:
    Read fillUp(std::size_t count);

    ByteSource& d_source;
    std::vector<char> d_buffer;
    std::size_t d_begin = 0;
    std::size_t d_end = 0;
};

} // namespace qztool
