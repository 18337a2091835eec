// Encodings and line ends of definition files.
#include "tools/definitions/TextEncoding.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/dbc/DbcReader.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qztool {

namespace {

std::string plain(std::string_view bytes) {
    std::string storage;
    return std::string(toPlainText(bytes, storage));
}

std::string withLineEnds(std::string text, std::string const& lineEnd) {
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + lineEnd.size()))
        text.replace(at, 1, lineEnd);
    return text;
}

std::string asUtf16(std::string_view text, bool bigEndian) {
    std::string result;
    for (char const c : text) {
        result += bigEndian ? '\0' : c;
        result += bigEndian ? c : '\0';
    }
    return result;
}

constexpr char const* file = "BO_ 1 A: 8 X\n\n SG_ S : 0|8@1+ (1,0) [0|0] \"C\" X\nVAL_ 1 S 0 \"two\nlines\" ;\nFOO_\n";

} // namespace

TEST(TextEncoding, allLineEndsGiveTheSameLinesAndTexts) {
    for (char const* const lineEnd : {"\n", "\r\n", "\r"}) {
        Database const database = readDatabase(withLineEnds(file, lineEnd));
        EXPECT_EQ("6 warning: unknown statement 'FOO_'; skipped up to the next known one\n", problemsOf(database));
        ASSERT_EQ("A: S ; ", namesOf(database));
        EXPECT_EQ(3U, database.messages[0].signals[0].line);
        EXPECT_EQ("0=two\nlines ", valuesOf(database.messages[0].signals[0]));
    }
}

TEST(TextEncoding, mixedLineEndsCountOnceEach) {
    EXPECT_EQ("a\nb\nc\n\nd\n\ne\n", plain("a\nb\r\nc\n\rd\r\re\r"));
}

TEST(TextEncoding, utf8IsKeptAndItsMarkRemoved) {
    EXPECT_EQ("\xC2\xB0"
              "C \xE2\x82\xAC \xF0\x9F\x98\x80",
              plain("\xEF\xBB\xBF\xC2\xB0"
                    "C \xE2\x82\xAC \xF0\x9F\x98\x80"));
}

TEST(TextEncoding, plainTextIsNotCopied) {
    std::string_view const text = "BO_ 1 \xC3\x84: 8 X\n";
    std::string storage;
    EXPECT_EQ(text.data(), toPlainText(text, storage).data());
}

TEST(TextEncoding, whatIsNotUtf8IsWindows1252) {
    struct Case {
        char const* bytes;
        char const* expected;
    };
    Case const cases[] = {
        {"\xB0"
         "C",
         "\xC2\xB0"
         "C"},
        {"\x80", "\xE2\x82\xAC"}, // euro sign
        {"\x9F", "\xC5\xB8"},     // Y with diaeresis
        {"\x81", "\xC2\x81"},     // a gap of the code page
        {"\xFF", "\xC3\xBF"},
        {"\xC2", "\xC3\x82"},                                             // cut short
        {"\xC0\xAF", "\xC3\x80\xC2\xAF"},                                 // overlong
        {"\xE0\x80\xAF", "\xC3\xA0\xE2\x82\xAC\xC2\xAF"},                 // overlong
        {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xE2\x82\xAC"},                 // surrogate
        {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xE2\x82\xAC\xE2\x82\xAC"}, // above U+10FFFF
        {"abcdefghijk\xE4", "abcdefghijk\xC3\xA4"},
        {"\xC3\xA4\xE4", "\xC3\x83\xC2\xA4\xC3\xA4"}, // the whole file is one or the other
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, plain(c.bytes));
}

TEST(TextEncoding, windows1252NamesUnitsAndValuesComeOutAsUtf8) {
    Database const database = readDatabase("BO_ 1 T\xFCr: 8 X\r\n SG_ \xD6l : 0|8@1+ (1,0) [0|0] \"\xB0"
                                           "C\" X\r\nVAL_ 1 \xD6l 0 \"hei\xDF\";\r\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ("T\xC3\xBCr: \xC3\x96l ; ", namesOf(database));
    EXPECT_EQ("\xC2\xB0"
              "C",
              database.messages[0].signals[0].unit);
    EXPECT_EQ("0=hei\xC3\x9F ", valuesOf(database.messages[0].signals[0]));
}

TEST(TextEncoding, utf16IsOneProblem) {
    for (std::string const& text : {"\xFF\xFE" + asUtf16(file, false), "\xFE\xFF" + asUtf16(file, true),
                                    asUtf16(file, false), asUtf16(file, true)}) {
        Database const database = readDatabase(text);
        EXPECT_EQ("0 error: the file is UTF-16 text; save it as UTF-8 or Windows-1252\n", problemsOf(database));
        EXPECT_TRUE(database.messages.empty());
    }
}

TEST(TextEncoding, nulByteIsOneProblemWithItsLine) {
    std::string text = withLineEnds(file, "\r\n");
    text[text.find("S :")] = '\0';
    text += '\0';
    Database const database = readDatabase(text);
    EXPECT_EQ("3 error: there is a NUL byte: this is a binary file, not text\n", problemsOf(database));
    EXPECT_TRUE(database.messages.empty());
    EXPECT_EQ("1 error: there is a NUL byte: this is a binary file, not text\n",
              problemsOf(readDatabase(std::string_view("\0", 1))));
}

} // namespace qztool
