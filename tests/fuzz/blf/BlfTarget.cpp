// Fuzz target: any bytes as a BLF file.
#include "tests/fuzz/RecordingText.h"
#include "tools/recordings/blf/BlfReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const content(reinterpret_cast<char const*>(data), size);
    qztool::expectReader<qztool::BlfReader>(content);
    return 0;
}
