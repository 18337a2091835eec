// Calls of zlib.
#include "tools/recordings/compressed/Inflater.h"

#include <new>

namespace qztool {

namespace {

constexpr int zlibWindow = 15;
constexpr int gzipWindow = zlibWindow + 16; // zlib's way to ask for gzip's header in place of its own

} // namespace

Inflater::Inflater(Header header) {
    if (inflateInit2(&d_stream, header == Header::Gzip ? gzipWindow : zlibWindow) != Z_OK)
        throw std::bad_alloc();
}

Inflater::~Inflater() {
    inflateEnd(&d_stream);
}

void Inflater::reset() {
    inflateReset(&d_stream);
}

Inflater::Step Inflater::inflate(std::string_view input, char* output, std::size_t size) {
    d_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data())); // zlib does not write there
    d_stream.avail_in = static_cast<uInt>(input.size());
    d_stream.next_out = reinterpret_cast<Bytef*>(output);
    d_stream.avail_out = static_cast<uInt>(size);
    int const result = ::inflate(&d_stream, Z_NO_FLUSH);
    Step step;
    step.consumed = input.size() - d_stream.avail_in;
    step.produced = size - d_stream.avail_out;
    step.ended = result == Z_STREAM_END;
    if (result == Z_MEM_ERROR)
        throw std::bad_alloc();
    // Z_BUF_ERROR: the next bytes are missing, or there is no room for more.
    if (!step.ended && result != Z_OK && result != Z_BUF_ERROR)
        step.damage = d_stream.msg != nullptr ? d_stream.msg : "";
    return step;
}

} // namespace qztool
