// libdeflate's decompressor, for data that is there as a whole.
#pragma once

#include <cstddef>
#include <string_view>

struct libdeflate_decompressor;

namespace qztool {

class WholeInflater {
public:
    WholeInflater();
    ~WholeInflater();
    WholeInflater(WholeInflater const&) = delete;
    WholeInflater& operator=(WholeInflater const&) = delete;

    // Decompresses data with zlib's header, which `input` begins with. False, with nothing said about `output`: it is
    // damaged or not all there, or it has more than `size` bytes.
    bool inflate(std::string_view input, char* output, std::size_t size, std::size_t& produced);

private:
    libdeflate_decompressor* d_decompressor;
};

} // namespace qztool
