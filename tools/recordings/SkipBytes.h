// Passing over parts of a recording that may be larger than the buffer.
#pragma once

#include "tools/recordings/InputBuffer.h"

#include <algorithm>
#include <cstdint>

namespace qztool {

// Passes over `left` bytes, of which it subtracts what it has done. Bytes: all are passed. Otherwise reading ended as
// the result says; call again to go on.
inline InputBuffer::Read skipBytes(InputBuffer& input, std::uint64_t& left) {
    for (;;) {
        auto const count = static_cast<std::size_t>(std::min<std::uint64_t>(left, input.bytes().size()));
        input.consume(count);
        left -= count;
        if (left == 0)
            return InputBuffer::Read::Bytes;
        if (InputBuffer::Read const result = input.fill(); result != InputBuffer::Read::Bytes)
            return result;
    }
}

} // namespace qztool
