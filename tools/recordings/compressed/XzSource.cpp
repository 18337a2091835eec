// Decompressing with liblzma, all streams of a file.
#include "tools/recordings/compressed/XzSource.h"

#include <new>

namespace qztool {

namespace {

// A file may ask for 4 GiB. `xz -9` makes ones that need 65 MiB.
constexpr std::uint64_t mostMemory = std::uint64_t{256} * 1024 * 1024;

char const* damageOf(lzma_ret result) {
    switch (result) {
    case LZMA_OK:
    case LZMA_STREAM_END:
    case LZMA_BUF_ERROR: // the next bytes are missing, or there is no room for more
        return nullptr;
    case LZMA_MEMLIMIT_ERROR:
        return "it takes more than 256 MiB of memory";
    case LZMA_OPTIONS_ERROR:
        return "unknown options";
    case LZMA_FORMAT_ERROR:
        return "other bytes after its end";
    default:
        return "";
    }
}

} // namespace

XzSource::XzSource(InputBuffer& input) : DecompressedSource(input, "xz") {
    if (lzma_stream_decoder(&d_stream, mostMemory, LZMA_CONCATENATED) != LZMA_OK)
        throw std::bad_alloc();
}

XzSource::~XzSource() {
    lzma_end(&d_stream);
}

XzSource::Step XzSource::decompress(std::string_view input, bool isLast, char* output, std::size_t size) {
    d_stream.next_in = reinterpret_cast<std::uint8_t const*>(input.data());
    d_stream.avail_in = input.size();
    d_stream.next_out = reinterpret_cast<std::uint8_t*>(output);
    d_stream.avail_out = size;
    lzma_ret const result = lzma_code(&d_stream, isLast ? LZMA_FINISH : LZMA_RUN);
    if (result == LZMA_MEM_ERROR)
        throw std::bad_alloc();
    Step step;
    step.consumed = input.size() - d_stream.avail_in;
    step.produced = size - d_stream.avail_out;
    step.atBorder = result == LZMA_STREAM_END;
    step.damage = damageOf(result);
    return step;
}

} // namespace qztool
