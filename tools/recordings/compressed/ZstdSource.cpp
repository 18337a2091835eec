// Decompressing with libzstd, frame by frame.
#include "tools/recordings/compressed/ZstdSource.h"

#include <new>

namespace qztool {

ZstdSource::ZstdSource(InputBuffer& input) : DecompressedSource(input, "zstd"), d_stream(ZSTD_createDStream()) {
    if (d_stream == nullptr)
        throw std::bad_alloc();
}

ZstdSource::~ZstdSource() {
    ZSTD_freeDStream(d_stream);
}

ZstdSource::Step ZstdSource::decompress(std::string_view input, bool /*isLast*/, char* output, std::size_t size) {
    Step step;
    // A call without input would begin a frame.
    if (d_atBorder && input.empty()) {
        step.atBorder = true;
        return step;
    }
    ZSTD_inBuffer in{input.data(), input.size(), 0};
    ZSTD_outBuffer out{output, size, 0};
    std::size_t const result = ZSTD_decompressStream(d_stream, &out, &in);
    step.consumed = in.pos;
    step.produced = out.pos;
    d_atBorder = result == 0;
    step.atBorder = d_atBorder;
    if (ZSTD_isError(result) != 0)
        step.damage = ZSTD_getErrorName(result);
    return step;
}

} // namespace qztool
