// zlib's decompressor.
#pragma once

#include <cstddef>
#include <string_view>

#include <zlib.h>

namespace qztool {

class Inflater {
public:
    enum class Header { Gzip, Zlib };

    struct Step {
        std::size_t consumed = 0;
        std::size_t produced = 0;
        bool ended = false;           // with all of the data, whose checksum is right
        char const* damage = nullptr; // set: cannot go on; zlib's words, or ""
    };

    explicit Inflater(Header header);
    ~Inflater();
    Inflater(Inflater const&) = delete;
    Inflater& operator=(Inflater const&) = delete;

    // From the next header on.
    void reset();
    // Decompresses some of `input` into `size` bytes of `output`. Nothing consumed or produced: there was no input, or
    // no room.
    Step inflate(std::string_view input, char* output, std::size_t size);

private:
    z_stream d_stream{};
};

} // namespace qztool
