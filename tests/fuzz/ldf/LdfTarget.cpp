// Fuzz target: any bytes as a LDF file.
#include "tests/fuzz/Definitions.h"
#include "tools/definitions/ldf/LdfReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    qztool::fuzzDefinitions(qztool::readLdf, data, size);
    return 0;
}
