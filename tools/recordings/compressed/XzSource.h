// The content of an xz file.
#pragma once

#include "tools/recordings/compressed/DecompressedSource.h"

#include <lzma.h>

namespace qztool {

class XzSource : public DecompressedSource {
public:
    explicit XzSource(InputBuffer& input);
    ~XzSource() override;
    XzSource(XzSource const&) = delete;
    XzSource& operator=(XzSource const&) = delete;

private:
    Step decompress(std::string_view input, bool isLast, char* output, std::size_t size) override;

    lzma_stream d_stream = LZMA_STREAM_INIT;
};

} // namespace qztool
