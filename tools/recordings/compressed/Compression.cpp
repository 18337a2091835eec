// The table of compressions.
#include "tools/recordings/compressed/Compression.h"

#ifdef QZSIGNAL_WITH_ZLIB
#include "tools/recordings/compressed/GzipSource.h"
#endif
#ifdef QZSIGNAL_WITH_LZMA
#include "tools/recordings/compressed/XzSource.h"
#endif
#ifdef QZSIGNAL_WITH_ZSTD
#include "tools/recordings/compressed/ZstdSource.h"
#endif

namespace qztool {

namespace {

using Open = std::unique_ptr<ByteSource> (*)(InputBuffer& input);

template <typename Source>
std::unique_ptr<ByteSource> open(InputBuffer& input) {
    return std::make_unique<Source>(input);
}

#ifdef QZSIGNAL_WITH_ZLIB
constexpr Open openGzip = open<GzipSource>;
#else
constexpr Open openGzip = nullptr;
#endif
#ifdef QZSIGNAL_WITH_LZMA
constexpr Open openXz = open<XzSource>;
#else
constexpr Open openXz = nullptr;
#endif
#ifdef QZSIGNAL_WITH_ZSTD
constexpr Open openZstd = open<ZstdSource>;
#else
constexpr Open openZstd = nullptr;
#endif

constexpr Compression compressions[] = {
    {"gzip", "zlib", "\x1F\x8B\x08", openGzip},
    {"xz", "liblzma", {"\xFD\x37zXZ\0", 6}, openXz},
    {"zstd", "libzstd", "\x28\xB5\x2F\xFD", openZstd},
};

} // namespace

Compression const* compressionOf(std::string_view bytes) {
    for (Compression const& compression : compressions)
        if (bytes.substr(0, compression.mark.size()) == compression.mark)
            return &compression;
    return nullptr;
}

std::string missingLibrary(Compression const& compression) {
    return std::string("it is compressed with ") + compression.name + ", and this command was built without " +
           compression.libraryName;
}

} // namespace qztool
