// Nothing is allocated per line. Replaces the allocator, so it is a program of its own.
#include "tests/tools/export/ExportFixture.h"

#include <cstdlib>
#include <new>

namespace {

unsigned long allocations = 0;

} // namespace

// Not inlined: GCC takes a deallocation by free for a mistake where it sees both.
__attribute__((noinline)) void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* memory) noexcept {
    std::free(memory);
}
__attribute__((noinline)) void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace qztool {
namespace {

class ExportAllocationTest : public ExportFixture, public testing::WithParamInterface<ExportFormat> {};

TEST_P(ExportAllocationTest, linesTakeNoMemory) {
    load("BO_ 256 M: 8 X\n"
         " SG_ One m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Switch M : 0|2@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Long : 16|32@1- (0.0000001,0) [0|0] \"\" X\n"
         " SG_ State : 48|4@1+ (1,0) [0|0] \"\" X\n"
         "VAL_ 256 State 1 \"a word that is much longer than what a string holds by itself\" ;\n");
    ExportOptions options;
    options.format = GetParam();
    options.words = true;
    begin(options);
    Frame frame = frameOf(256, std::vector<std::uint8_t>(8));
    auto const feedSome = [&](std::uint64_t begin, std::uint64_t end) {
        for (frame.timestamp = begin; frame.timestamp < end; ++frame.timestamp) {
            auto const number = static_cast<std::uint32_t>(frame.timestamp * 2654435761U);
            for (unsigned i = 0; i < 7; ++i)
                frame.bytes[i] = static_cast<std::uint8_t>(number >> i);
            feed(frame);
        }
    };
    feedSome(0, 100);
    unsigned long const before = allocations;
    feedSome(100, 20000);
    EXPECT_EQ(allocations, before);
    EXPECT_GT(d_exporter->values(), 50000U);
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportAllocationTest,
                         testing::Values(ExportFormat::Csv, ExportFormat::Jsonl, ExportFormat::Wide));

} // namespace
} // namespace qztool
