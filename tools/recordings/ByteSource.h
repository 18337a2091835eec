// Where the bytes of a recording come from: a file, a pipe, or a decompressor of another source.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qztool {

class ByteSource {
public:
    enum class Read {
        Bytes,
        End,         // for good
        Interrupted, // by a signal or a request to stop; nothing is lost, call again to go on
        Failed       // see `error`
    };

    virtual ~ByteSource() = default;

    // Stores 1 to `size` bytes, as soon as there are any, and their number. Results other than Bytes store nothing.
    virtual Read read(char* bytes, std::size_t size, std::size_t& count) = 0;
    // What made reading fail, such as "Input/output error".
    virtual std::string error() const = 0;
    // Progress: bytes taken from the file itself, compressed or not.
    virtual std::uint64_t bytesRead() const = 0;
};

} // namespace qztool
