// The content of a zstd file.
#pragma once

#include "tools/recordings/compressed/DecompressedSource.h"

#include <zstd.h>

namespace qztool {

class ZstdSource : public DecompressedSource {
public:
    explicit ZstdSource(InputBuffer& input);
    ~ZstdSource() override;
    ZstdSource(ZstdSource const&) = delete;
    ZstdSource& operator=(ZstdSource const&) = delete;

private:
    Step decompress(std::string_view input, bool isLast, char* output, std::size_t size) override;

    ZSTD_DStream* d_stream;
    bool d_atBorder = false; // after a frame
};

} // namespace qztool
