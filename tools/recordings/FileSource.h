// The bytes of a file, pipe or device.
#pragma once

#include "tools/base/Stop.h"
#include "tools/recordings/ByteSource.h"

namespace qztool {

// Does not own the descriptor, which must be in blocking mode.
class FileSource : public ByteSource {
public:
    FileSource(int descriptor, Stop& stop) : d_descriptor(descriptor), d_stop(stop) {}

    Read read(char* bytes, std::size_t size, std::size_t& count) override;
    std::string error() const override;
    std::uint64_t bytesRead() const override { return d_bytesRead; }

private:
    int d_descriptor;
    Stop& d_stop;
    int d_error = 0;
    std::uint64_t d_bytesRead = 0;
};

} // namespace qztool
