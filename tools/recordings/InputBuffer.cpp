// Buffering.
#include "tools/recordings/InputBuffer.h"

#include <cstring>

namespace qztool {

InputBuffer::Read InputBuffer::fill() {
    if (d_begin != 0) {
        std::memmove(d_buffer.data(), d_buffer.data() + d_begin, d_end - d_begin);
        d_end -= d_begin;
        d_begin = 0;
    }
    std::size_t count = 0;
    Read const result = d_source.read(d_buffer.data() + d_end, d_buffer.size() - d_end, count);
    d_end += count;
    return result;
}

InputBuffer::Read InputBuffer::fillUp(std::size_t count) {
    while (d_end - d_begin < count)
        if (Read const result = fill(); result != Read::Bytes)
            return result;
    return Read::Bytes;
}

} // namespace qztool
