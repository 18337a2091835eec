// Bytes from memory in place of a file, in pieces as a pipe has them.
#pragma once

#include "tools/recordings/ByteSource.h"
#include "tools/recordings/InputBuffer.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace qztool {

// Hands out at most `most` bytes a time. `interrupts`: every other read is interrupted. `error`: how reading fails once
// the bytes are through; empty: it ends.
class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string content, std::size_t most = std::string::npos, bool interrupts = false,
                          std::string error = "")
        : d_content(std::move(content)), d_most(most), d_interrupts(interrupts), d_error(std::move(error)) {}

    Read read(char* bytes, std::size_t size, std::size_t& count) override {
        if (d_interrupts) {
            d_interrupted = !d_interrupted;
            if (d_interrupted)
                return Read::Interrupted;
        }
        count = std::min({size, d_most, d_content.size() - d_position});
        if (count == 0)
            return d_error.empty() ? Read::End : Read::Failed;
        std::memcpy(bytes, d_content.data() + d_position, count);
        d_position += count;
        return Read::Bytes;
    }
    std::string error() const override { return d_error; }
    std::uint64_t bytesRead() const override { return d_position; }

private:
    std::string d_content;
    std::size_t d_most;
    bool d_interrupts;
    std::string d_error;
    std::size_t d_position = 0;
    bool d_interrupted = false;
};

} // namespace qztool
