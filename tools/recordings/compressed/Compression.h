// The compressions that recordings and definition files may have.
#pragma once

#include "tools/recordings/ByteSource.h"
#include "tools/recordings/InputBuffer.h"

#include <memory>
#include <string>
#include <string_view>

namespace qztool {

// Each needs a library that a target's distribution may lack.
struct Compression {
    char const* name;        // such as "gzip"
    char const* libraryName; // such as "zlib"
    std::string_view mark;   // first bytes of a compressed file
    // The content of the compressed `input`, which must outlive the result. Null: built without the library.
    std::unique_ptr<ByteSource> (*open)(InputBuffer& input);
};

constexpr std::size_t compressionBytes = 6; // the longest mark

// The compression of a file with these first bytes; null: none.
Compression const* compressionOf(std::string_view bytes);
// "it is compressed with gzip, and this command was built without zlib"
std::string missingLibrary(Compression const& compression);

} // namespace qztool
