// Writing, and what keeps from it.
#include "tools/export/OutputBuffer.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace qztool {

void OutputBuffer::append(std::string_view text) {
    char* const to = room(text.size());
    advance(std::copy(text.begin(), text.end(), to));
}

void OutputBuffer::makeRoom(std::size_t size) {
    flush();
    if (d_buffer.size() < size)
        d_buffer.resize(size);
    d_next = d_buffer.data();
}

void OutputBuffer::flush() {
    char const* from = d_buffer.data();
    while (from != d_next && d_error == 0) {
        ssize_t const written = write(d_descriptor, from, static_cast<std::size_t>(d_next - from));
        if (written >= 0)
            from += written;
        else if (errno != EINTR || d_stop.requested())
            d_error = errno;
    }
    d_next = d_buffer.data();
}

int OutputBuffer::error() const {
    return d_error == EPIPE || d_error == EINTR ? 0 : d_error;
}

} // namespace qztool
