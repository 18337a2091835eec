// Compressed bytes made by the libraries themselves, one function per compression, as far as it is built in.
#pragma once

#include <string>
#include <vector>

#ifdef QZSIGNAL_WITH_ZLIB
#include <zlib.h>
#endif
#ifdef QZSIGNAL_WITH_LZMA
#include <lzma.h>
#endif
#ifdef QZSIGNAL_WITH_ZSTD
#include <zstd.h>
#endif

namespace qztool {

struct Compressor {
    char const* name;
    char const* libraryName;
    std::string mark;
    std::string (*compress)(std::string const& content); // null: not built in
};

#ifdef QZSIGNAL_WITH_ZLIB
inline std::string gzipped(std::string const& content) {
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string result(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}
#endif

#ifdef QZSIGNAL_WITH_LZMA
inline std::string xzCompressed(std::string const& content) {
    std::string result(lzma_stream_buffer_bound(content.size()), '\0');
    std::size_t size = 0;
    lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr, reinterpret_cast<std::uint8_t const*>(content.data()),
                            content.size(), reinterpret_cast<std::uint8_t*>(result.data()), &size, result.size());
    result.resize(size);
    return result;
}
#endif

#ifdef QZSIGNAL_WITH_ZSTD
inline std::string zstdCompressed(std::string const& content) {
    std::string result(ZSTD_compressBound(content.size()), '\0');
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1); // as the zstd command does
    result.resize(ZSTD_compress2(context, result.data(), result.size(), content.data(), content.size()));
    ZSTD_freeCCtx(context);
    return result;
}
#endif

inline std::vector<Compressor> compressors() {
    std::vector<Compressor> all = {
        {"gzip", "zlib", "\x1F\x8B\x08", nullptr},
        {"xz", "liblzma", std::string("\xFD\x37zXZ\0", 6), nullptr},
        {"zstd", "libzstd", "\x28\xB5\x2F\xFD", nullptr},
    };
#ifdef QZSIGNAL_WITH_ZLIB
    all[0].compress = gzipped;
#endif
#ifdef QZSIGNAL_WITH_LZMA
    all[1].compress = xzCompressed;
#endif
#ifdef QZSIGNAL_WITH_ZSTD
    all[2].compress = zstdCompressed;
#endif
    return all;
}

} // namespace qztool
