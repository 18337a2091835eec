// Fuzz target: any bytes as a KCD file.
#include "tests/fuzz/Definitions.h"
#include "tools/definitions/kcd/KcdReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    qztool::fuzzDefinitions(qztool::readKcd, data, size);
    return 0;
}
