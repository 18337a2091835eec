// Decompression: several members in one file, pieces of any size, and files that are cut or damaged.
#include "tools/recordings/compressed/Compression.h"

#include "tests/tools/recordings/MemorySource.h"
#include "tests/tools/recordings/compressed/CompressedData.h"

#include <gtest/gtest.h>

#include <random>

namespace qztool {
namespace {

using Read = ByteSource::Read;

// Does not compress well, and is longer than the buffers on the way.
std::string someContent() {
    std::mt19937 random(1); // NOLINT: the same each time
    std::string content;
    while (content.size() < 700'000)
        content += "(1757617431." + std::to_string(random() % 1000000) + ") can0 167#727FC3000019E500\n";
    return content;
}

struct Result {
    std::string content;
    std::string error; // empty: ended as it should
};

Result readAll(ByteSource& below, std::size_t most = 100'000) {
    InputBuffer input(below);
    while (input.bytes().size() < compressionBytes)
        if (Read const read = input.fill(); read != Read::Bytes && read != Read::Interrupted)
            break;
    Compression const* const compression = compressionOf(input.bytes());
    if (compression == nullptr)
        return {"", "not compressed"};
    std::unique_ptr<ByteSource> const source = compression->open(input);
    Result result;
    std::vector<char> bytes(most);
    for (;;) {
        std::size_t count = 0;
        switch (source->read(bytes.data(), bytes.size(), count)) {
        case Read::Bytes:
            result.content.append(bytes.data(), count);
            break;
        case Read::Interrupted:
            break;
        case Read::End:
            EXPECT_EQ(source->bytesRead(), below.bytesRead());
            return result;
        case Read::Failed:
            // Again and again.
            EXPECT_EQ(source->read(bytes.data(), bytes.size(), count), Read::Failed);
            result.error = source->error();
            return result;
        }
    }
}

Result decompressed(std::string const& bytes, std::size_t most = std::string::npos, bool interrupts = false) {
    MemorySource below(bytes, most, interrupts);
    return readAll(below);
}

class CompressionTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        d_compressor = compressors()[static_cast<std::size_t>(GetParam())];
        if (d_compressor.compress == nullptr)
            GTEST_SKIP() << "built without " << d_compressor.libraryName;
    }

    std::string compressed(std::string const& content) const { return d_compressor.compress(content); }
    std::string name() const { return d_compressor.name; }

    Compressor d_compressor;
};

TEST_P(CompressionTest, contentIsRead) {
    std::string const content = someContent();
    Result const result = decompressed(compressed(content));
    EXPECT_TRUE(result.content == content);
    EXPECT_EQ(result.error, "");
}

TEST_P(CompressionTest, emptyContentIsRead) {
    Result const result = decompressed(compressed(""));
    EXPECT_EQ(result.content, "");
    EXPECT_EQ(result.error, "");
}

TEST_P(CompressionTest, piecesOfAnySizeAndInterruptionsLoseNothing) {
    std::string const content = someContent().substr(0, 20'000);
    std::string const bytes = compressed(content);
    for (std::size_t const most : {1U, 2U, 7U, 1000U}) {
        for (bool const interrupts : {false, true}) {
            Result const result = decompressed(bytes, most, interrupts);
            EXPECT_TRUE(result.content == content) << most;
            EXPECT_EQ(result.error, "") << most;
        }
    }
}

TEST_P(CompressionTest, readsOfAnySizeGetEverything) {
    std::string const content = someContent().substr(0, 20'000);
    for (std::size_t const most : {1U, 3U, 4096U}) {
        MemorySource below(compressed(content));
        Result const result = readAll(below, most);
        EXPECT_TRUE(result.content == content) << most;
        EXPECT_EQ(result.error, "") << most;
    }
}

TEST_P(CompressionTest, severalMembersAreReadInOrder) {
    std::string const bytes = compressed("first ") + compressed("") + compressed("second ") + compressed("third");
    for (std::size_t const most : {std::string::npos, std::size_t{1}}) {
        Result const result = decompressed(bytes, most);
        EXPECT_EQ(result.content, "first second third");
        EXPECT_EQ(result.error, "");
    }
}

// Every cut of a small file and some of a large one: what is decompressed is the beginning of the content, and the end
// is not taken for that of the file.
TEST_P(CompressionTest, truncatedFilesAreReadAsFarAsTheyGo) {
    std::string const small = "(1757617431.821276) can0 167#727FC3000019E500\n";
    std::string const smallBytes = compressed(small);
    for (std::size_t size = compressionBytes; size < smallBytes.size(); ++size) {
        Result const result = decompressed(smallBytes.substr(0, size));
        EXPECT_EQ(result.content, small.substr(0, result.content.size())) << size;
        EXPECT_EQ(result.error, "unexpected end of the " + name() + " data") << size;
    }
    std::string const content = someContent();
    std::string const bytes = compressed(content);
    Result const half = decompressed(bytes.substr(0, bytes.size() / 2));
    EXPECT_GT(half.content.size(), content.size() / 4);
    EXPECT_TRUE(half.content == content.substr(0, half.content.size()));
    EXPECT_EQ(half.error, "unexpected end of the " + name() + " data");
}

// All formats have checksums: no damage goes unnoticed, except in bytes without meaning.
TEST_P(CompressionTest, damageIsNoticed) {
    std::string const content = someContent().substr(0, 100'000);
    std::string const bytes = compressed(content);
    for (std::size_t const position : {bytes.size() / 3, bytes.size() / 2, bytes.size() - bytes.size() / 8}) {
        std::string damaged = bytes;
        damaged[position] = static_cast<char>(damaged[position] ^ 0x55);
        Result const result = decompressed(damaged);
        EXPECT_NE(result.error.find(name() + " data"), std::string::npos) << result.error;
        EXPECT_LE(result.content.size(), content.size() * 2);
    }
}

TEST_P(CompressionTest, otherBytesAfterTheEndAreAProblem) {
    Result const result = decompressed(compressed("content") + "what belongs to no member");
    EXPECT_EQ(result.content, "content");
    EXPECT_EQ(result.error.find("damaged " + name() + " data"), 0U) << result.error;
}

TEST_P(CompressionTest, errorsOfTheFileAreHandedOn) {
    std::string const bytes = compressed(someContent());
    MemorySource below(bytes.substr(0, bytes.size() / 2), 5000, false, "Input/output error");
    EXPECT_EQ(readAll(below).error, "Input/output error");
}

INSTANTIATE_TEST_SUITE_P(Each, CompressionTest, testing::Range(0, 3),
                         [](auto const& each) { return std::string(compressors()[each.param].name); });

TEST(CompressionTableTest, compressionIsToldFromTheFirstBytes) {
    for (Compressor const& each : compressors()) {
        Compression const* const found = compressionOf(each.mark + "and more");
        ASSERT_NE(found, nullptr) << each.name;
        EXPECT_STREQ(found->name, each.name);
        EXPECT_EQ(found->open != nullptr, each.compress != nullptr) << each.name;
        EXPECT_EQ(compressionOf(each.mark.substr(0, each.mark.size() - 1)), nullptr) << each.name;
        EXPECT_EQ(missingLibrary(*found), std::string("it is compressed with ") + each.name +
                                              ", and this command was built without " + each.libraryName);
    }
    EXPECT_EQ(compressionOf("(1757617431.821276) can0 167#72"), nullptr);
    EXPECT_EQ(compressionOf(""), nullptr);
}

#ifdef QZSIGNAL_WITH_ZLIB
TEST(GzipSourceTest, zeroBytesFillUpTheEnd) {
    Result const result = decompressed(gzipped("content") + std::string(3000, '\0'), 10);
    EXPECT_EQ(result.content, "content");
    EXPECT_EQ(result.error, "");
}
#endif

} // namespace
} // namespace qztool
