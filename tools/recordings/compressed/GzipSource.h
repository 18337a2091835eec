// The content of a gzip file.
#pragma once

#include "tools/recordings/compressed/DecompressedSource.h"
#include "tools/recordings/compressed/Inflater.h"

namespace qztool {

class GzipSource : public DecompressedSource {
public:
    explicit GzipSource(InputBuffer& input) : DecompressedSource(input, "gzip") {}

private:
    Step decompress(std::string_view input, bool isLast, char* output, std::size_t size) override;

    Inflater d_inflater{Inflater::Header::Gzip};
    bool d_atBorder = false; // after a member, where zero bytes may fill up the file
};

} // namespace qztool
