// Inflating with zlib, member by member.
#include "tools/recordings/compressed/GzipSource.h"

#include <algorithm>
#include <new>

namespace qztool {

namespace {

constexpr int gzipWindow = 15 + 16; // zlib's way to ask for gzip's header in place of its own

} // namespace

GzipSource::GzipSource(InputBuffer& input) : DecompressedSource(input, "gzip") {
    if (inflateInit2(&d_stream, gzipWindow) != Z_OK)
        throw std::bad_alloc();
}

GzipSource::~GzipSource() {
    inflateEnd(&d_stream);
}

GzipSource::Step GzipSource::decompress(std::string_view input, bool /*isLast*/, char* output, std::size_t size) {
    Step step;
    if (d_atBorder) {
        step.consumed = std::min(input.find_first_not_of('\0'), input.size());
        input.remove_prefix(step.consumed);
        step.atBorder = input.empty();
        if (step.atBorder)
            return step;
        if (input.front() != '\x1F') {
            step.damage = "other bytes after its end";
            return step;
        }
        inflateReset(&d_stream);
        d_atBorder = false;
    }
    d_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data())); // zlib does not write there
    d_stream.avail_in = static_cast<uInt>(input.size());
    d_stream.next_out = reinterpret_cast<Bytef*>(output);
    d_stream.avail_out = static_cast<uInt>(size);
    int const result = inflate(&d_stream, Z_NO_FLUSH);
    step.consumed += input.size() - d_stream.avail_in;
    step.produced = size - d_stream.avail_out;
    d_atBorder = result == Z_STREAM_END;
    step.atBorder = d_atBorder;
    // Z_BUF_ERROR: the next bytes are missing, or there is no room for more.
    if (!d_atBorder && result != Z_OK && result != Z_BUF_ERROR)
        step.damage = d_stream.msg != nullptr ? d_stream.msg : "";
    return step;
}

} // namespace qztool
