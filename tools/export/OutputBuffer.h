// Text on its way to a file or a pipe.
#pragma once

#include "tools/base/Stop.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace qztool {

// Collects text and writes it in large pieces. After a failure it takes what comes and drops it, so that callers need
// not look after each line. Does not own the descriptor, which must be in blocking mode; `stop` must outlive it.
class OutputBuffer {
public:
    explicit OutputBuffer(int descriptor, Stop& stop, std::size_t capacity = std::size_t{128} * 1024)
        : d_descriptor(descriptor), d_stop(stop), d_buffer(capacity), d_next(d_buffer.data()) {}

    // Room for `size` bytes, to be filled from its beginning; `advance` says to where. The room of one call ends with
    // the next.
    char* room(std::size_t size) {
        if (static_cast<std::size_t>(d_buffer.data() + d_buffer.size() - d_next) < size)
            makeRoom(size);
        return d_next;
    }
    void advance(char* end) { d_next = end; }
    void append(std::string_view text);

    // Writes what there is. A reader that does not read cannot keep it from ending once a stop is requested.
    void flush();

    // True once a write has failed, or was given up on a request to stop.
    bool failed() const { return d_error != 0; }
    // False once there is no use in going on: the same, or a stop is requested.
    bool isWanted() const { return !failed() && !d_stop.requested(); }
    // errno of the write that failed; 0 if none did, or if the reader of a pipe has left, which is its decision, or a
    // stop was requested.
    int error() const;

private:
    void makeRoom(std::size_t size);

    int d_descriptor;
    Stop& d_stop;
    std::vector<char> d_buffer;
    char* d_next;
    int d_error = 0;
};

} // namespace qztool
