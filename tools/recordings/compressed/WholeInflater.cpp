// Calls of libdeflate.
#include "tools/recordings/compressed/WholeInflater.h"

#include <new>

#include <libdeflate.h>

namespace qztool {

WholeInflater::WholeInflater() : d_decompressor(libdeflate_alloc_decompressor()) {
    if (d_decompressor == nullptr)
        throw std::bad_alloc();
}

WholeInflater::~WholeInflater() {
    libdeflate_free_decompressor(d_decompressor);
}

bool WholeInflater::inflate(std::string_view input, char* output, std::size_t size, std::size_t& produced) {
    std::size_t consumed = 0;
    return libdeflate_zlib_decompress_ex(d_decompressor, input.data(), input.size(), output, size, &consumed,
                                         &produced) == LIBDEFLATE_SUCCESS;
}

} // namespace qztool
