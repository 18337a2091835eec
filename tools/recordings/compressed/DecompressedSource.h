// What the decompressors share: reading the compressed bytes, and the ends and damages of files.
#pragma once

#include "tools/recordings/ByteSource.h"
#include "tools/recordings/InputBuffer.h"

#include <string>
#include <string_view>

namespace qztool {

// The content of all members (gzip), streams (xz) or frames (zstd) of a file, one after the other. A file that ends too
// early or is damaged is read as far as possible, then reading fails.
class DecompressedSource : public ByteSource {
public:
    Read read(char* bytes, std::size_t size, std::size_t& count) override;
    std::string error() const override { return d_error; }
    std::uint64_t bytesRead() const override { return d_input.source().bytesRead(); }

protected:
    struct Step {
        std::size_t consumed = 0;
        std::size_t produced = 0;
        bool atBorder = false;        // the file may end here
        char const* damage = nullptr; // set: cannot go on; the library's words, or ""
    };

    // `name` is that of the compression.
    DecompressedSource(InputBuffer& input, char const* name) : d_input(input), d_name(name) {}

    // Decompresses some of `input` into `size` bytes of `output`. `isLast`: nothing follows `input`.
    virtual Step decompress(std::string_view input, bool isLast, char* output, std::size_t size) = 0;

private:
    Read failDamaged(std::string const& details);
    Read fail(std::string error);

    InputBuffer& d_input;
    char const* d_name;
    bool d_inputEnded = false;
    std::string d_error; // set: reading fails from now on
};

} // namespace qztool
