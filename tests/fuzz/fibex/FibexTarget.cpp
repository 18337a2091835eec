// Fuzz target: any bytes as a FIBEX file.
#include "tests/fuzz/Definitions.h"
#include "tools/definitions/fibex/FibexReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    qztool::fuzzDefinitions(qztool::readFibex, data, size);
    return 0;
}
