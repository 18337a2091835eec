// The content of a gzip file.
#pragma once

#include "tools/recordings/compressed/DecompressedSource.h"

#include <zlib.h>

namespace qztool {

class GzipSource : public DecompressedSource {
public:
    explicit GzipSource(InputBuffer& input);
    ~GzipSource() override;
    GzipSource(GzipSource const&) = delete;
    GzipSource& operator=(GzipSource const&) = delete;

private:
    Step decompress(std::string_view input, bool isLast, char* output, std::size_t size) override;

    z_stream d_stream{};
    bool d_atBorder = false; // after a member, where zero bytes may fill up the file
};

} // namespace qztool
