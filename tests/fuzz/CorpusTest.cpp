// Runs each entry of a fuzz target's corpus through the target once, without a fuzzer: on every machine, with every
// compiler. An entry that was once a finding fails by ending the process.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

TEST(Corpus, passes) {
    int entries = 0;
    for (auto const& entry : std::filesystem::directory_iterator(QZSIGNAL_FUZZ_CORPUS)) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::vector<char> const bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        SCOPED_TRACE(entry.path().string());
        EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size()), 0);
        ++entries;
    }
    EXPECT_GT(entries, 0);
}
