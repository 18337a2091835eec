// Lines of candump logs, valid and damaged.
#include "tools/recordings/text/CandumpLog.h"

#include "tests/tools/recordings/RecordingFixtures.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

std::string parsed(std::string_view line) {
    Frame frame = usedFrame();
    ParsedLine const result = CandumpLog().parse(line, frame);
    return textOf(result, frame);
}

struct Case {
    std::string_view line;
    char const* expected;
};

void check(std::initializer_list<Case> cases) {
    for (Case const& oneCase : cases)
        EXPECT_EQ(parsed(oneCase.line), oneCase.expected) << oneCase.line;
}

TEST(CandumpLogTest, frameFieldsAreRead) {
    check({
        {"(1757617431.821276) can0 167#727FC3000019E500", "1757617431821276 0 167#727FC3000019E500"},
        {"(08255.460200) can0 0CF00203#CD402800043828FF", "8255460200 0 0CF00203#CD402800043828FF"},
        {"(1.000001) can0 0c00000b#fcFFff7d", "1000001 0 0C00000B#FCFFFF7D"},
        {"(1.0) vcan12 7FF#", "1000000 12 7FF#"},
        {"(1.0) can0 000#0a", "1000000 0 000#0A"},
        {"(1.0) can0 00000000#0A", "1000000 0 00000000#0A"},
        {"(1.0) can0 1FFFFFFF#0A", "1000000 0 1FFFFFFF#0A"},
        {"(1.0)  can0\t1AB#0A", "1000000 0 1AB#0A"},
        {" (1.0) can0 1AB#0A", "1000000 0 1AB#0A"},
    });
}

TEST(CandumpLogTest, timeIsExactToTheMicrosecond) {
    check({
        {"(0.000001) can0 123#", "1 0 123#"},
        {"(0.1) can0 123#", "100000 0 123#"},
        {"(5) can0 123#", "5000000 0 123#"},
        {"(5.) can0 123#", "5000000 0 123#"},
        {"(1.9999999999999999999999999) can0 123#", "1999999 0 123#"},
        {"(0000000000000000000000000001.5) can0 123#", "1500000 0 123#"},
        {"(9007199254.740993) can0 123#", "9007199254740993 0 123#"},
        {"(18446744073709.551615) can0 123#", "18446744073709551615 0 123#"},
        {"(18446744073709.551616) can0 123#", "malformed: time stamp too large"},
        {"(18446744073710.0) can0 123#", "malformed: time stamp too large"},
        {"(184467440737095516160000000.0) can0 123#", "malformed: time stamp too large"},
    });
}

TEST(CandumpLogTest, channelIsNumberAtEndOfInterfaceName) {
    check({
        {"(1.0) can7 123#", "1000000 7 123#"},
        {"(1.0) can255 123#", "1000000 255 123#"},
        {"(1.0) can0003 123#", "1000000 3 123#"},
        {"(1.0) can 123#", "1000000 0 123#"},
        {"(1.0) 4 123#", "1000000 4 123#"},
        {"(1.0) can3x 123#", "1000000 0 123#"},
        {"(1.0) can900a12 123#", "1000000 12 123#"},
        {"(1.0) can256 123#", "malformed: channel number above 255"},
        {"(1.0) can4294967296 123#", "malformed: channel number above 255"},
    });
}

TEST(CandumpLogTest, otherFramesAreToldApart) {
    check({
        {"(1.0) can0 123#R", "1000000 0 123#R0"},
        {"(1.0) can0 12345678#R8", "1000000 0 12345678#R8"},
        {"(1.0) can0 123#R0", "1000000 0 123#R0"},
        {"(1.0) can0 123#R8_C", "1000000 0 123#R8"},
        {"(1.0) can0 123#R T", "1000000 0 123#R0"},
        {"(1.0) can0 20000080#0000000000000000", "error frame"},
        {"(1.0) can0 200000FF#0000000000000000 R", "error frame"},
        {"", "other"},
        {" \t ", "other"},
    });
}

TEST(CandumpLogTest, canFdFramesHaveFlagsAndUpTo64Bytes) {
    std::string const most =
        "0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF"
        "0123456789ABCDEF0123456789ABCDEF";
    std::string const full = "(1.0) can0 123##0" + most;
    check({
        {"(1.0) can0 123##0", "1000000 0 123##0 "},
        {"(1.0) can0 123##1", "1000000 0 123##1 "},
        {"(1.0) can0 123##212", "1000000 0 123##2 12"},
        {"(1.0) can0 12345678##300112233445566778899AABB", "1000000 0 12345678##3 00112233445566778899AABB"},
        {"(1.0) can0 123##70011 T", "1000000 0 123##3 0011"},
        {"(1.0) can0 123##", "malformed: '##' is not followed by the flags of a CAN FD frame"},
        {"(1.0) can0 123##0 0", "malformed: text after the frame"},
        {"(1.0) can0 123##00", "malformed: odd number of data digits"},
        {"(1.0) can0 123##00G", "malformed: data holds a character that is not a hexadecimal digit"},
        {"(1.0) can0 123##00011223344556677_9", "malformed: data holds a character that is not a hexadecimal digit"},
    });
    EXPECT_EQ(parsed(full), "1000000 0 123##0 " + most);
    EXPECT_EQ(parsed(full + "00"), "malformed: more than 64 data bytes");
}

TEST(CandumpLogTest, directionIsRead) {
    Frame frame = usedFrame();
    for (auto const& [line, flags] : {std::pair<char const*, std::uint16_t>{"(1.0) can0 123#01 R", frameFlag::received},
                                      {"(1.0) can0 123#01 T", frameFlag::transmitted},
                                      {"(1.0) can0 123#01", 0}}) {
        ASSERT_EQ(CandumpLog().parse(line, frame).kind, LineKind::Frame) << line;
        EXPECT_EQ(frame.flags, flags) << line;
        EXPECT_EQ(frame.bus, Bus::Can) << line;
    }
}

TEST(CandumpLogTest, suffixesAreAccepted) {
    check({
        {"(1.0) can0 123#0102030405060708_9", "1000000 0 123#0102030405060708"},
        {"(1.0) can0 123#0102030405060708_f", "1000000 0 123#0102030405060708"},
        {"(1.0) can0 123#0102030405060708_E T", "1000000 0 123#0102030405060708"},
        {"(1.0) can0 123#01 R", "1000000 0 123#01"},
        {"(1.0) can0 123#01   T  ", "1000000 0 123#01"},
        {"(1.0) can0 123# R", "1000000 0 123#"},
        {"(1.0) can0 123#01 \t", "1000000 0 123#01"},
    });
}

TEST(CandumpLogTest, damagedLinesTellTheirCause) {
    check({
        {"can0 123#01", "malformed: line does not begin with a time in parentheses"},
        {"; comment", "malformed: line does not begin with a time in parentheses"},
        {"(", "malformed: time stamp is not a number"},
        {"(x) can0 123#01", "malformed: time stamp is not a number"},
        {"(-1.0) can0 123#01", "malformed: time stamp is not a number"},
        {"(1.0", "malformed: time stamp is not closed by a parenthesis"},
        {"(1.0.0) can0 123#01", "malformed: time stamp is not closed by a parenthesis"},
        {"(1.0)", "malformed: no interface name"},
        {"(1.0) can0", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"(1.0) can0 #01", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"(1.0) can0 12#01", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"(1.0) can0 1234#01", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"(1.0) can0 123456789#01", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"(1.0) can0 12G#01", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"(1.0) can0 123", "malformed: identifier is not followed by '#'"},
        {"(1.0) can0 123 [2] 01 02", "1000000 0 123#0102"}, // as on a screen
        {"(1.0) can0 800#01", "malformed: identifier of 3 digits above 7FF"},
        {"(1.0) can0 FFF#01", "malformed: identifier of 3 digits above 7FF"},
        {"(1.0) can0 40000000#01", "malformed: identifier above 1FFFFFFF"},
        {"(1.0) can0 A0000000#01", "malformed: identifier above 1FFFFFFF"},
        {"(1.0) can0 123#012", "malformed: odd number of data digits"},
        {"(1.0) can0 123#012 R", "malformed: odd number of data digits"},
        {"(1.0) can0 123#010203040506070", "malformed: odd number of data digits"},
        {"(1.0) can0 123#010203040506070_9", "malformed: odd number of data digits"},
        {"(1.0) can0 123#01020304050607080", "malformed: more than 8 data bytes"},
        {"(1.0) can0 123#010203040506070809", "malformed: more than 8 data bytes"},
        {"(1.0) can0 123#0G", "malformed: data holds a character that is not a hexadecimal digit"},
        {"(1.0) can0 123#G0", "malformed: data holds a character that is not a hexadecimal digit"},
        {"(1.0) can0 123#01.02", "malformed: data holds a character that is not a hexadecimal digit"},
        {"(1.0) can0 123#01_9", "malformed: data holds a character that is not a hexadecimal digit"},
        {std::string_view("(1.0) can0 123#01\0", 18),
         "malformed: data holds a character that is not a hexadecimal digit"},
        {"(1.0) can0 123#0102030405060708_8", "malformed: raw length code is not one of 9 to F"},
        {"(1.0) can0 123#0102030405060708_", "malformed: raw length code is not one of 9 to F"},
        {"(1.0) can0 123#0102030405060708X", "malformed: frame is not followed by a space"},
        {"(1.0) can0 123#0102030405060708_9A", "malformed: frame is not followed by a space"},
        {"(1.0) can0 123#R9", "malformed: frame is not followed by a space"},
        {"(1.0) can0 123#RX", "malformed: frame is not followed by a space"},
        {"(1.0) can0 123#R4_C", "malformed: frame is not followed by a space"},
        {"(1.0) can0 123#01 X", "malformed: text after the frame"},
        {"(1.0) can0 123#01 RT", "malformed: text after the frame"},
        {"(1.0) can0 123#01 R T", "malformed: text after the frame"},
        {"(1.0) can0 20000080#012", "malformed: odd number of data digits"},
    });
}

TEST(CandumpLogTest, everyCutOfALineIsReadWithoutLookingBehindItsEnd) {
    // The characters past the view would make each cut a valid line.
    std::string const line = "(1.5) can0 123#0102030405060708_9 R";
    std::size_t frames = 0;
    for (std::size_t length = 0; length <= line.size(); ++length) {
        Frame frame;
        bool const isFrame =
            CandumpLog().parse(std::string_view(line).substr(0, length), frame).kind == LineKind::Frame;
        frames += isFrame ? 1 : 0;
    }
    // After "#": 0 to 8 whole bytes; then the length code, the space and the direction.
    EXPECT_EQ(frames, 9U + 3U);
}

TEST(CandumpLogTest, usualLinesAndTheirNeighboursAreReadLikeAnyOther) {
    constexpr char others[] = "09:/@AFGafg ()#.\t_RT8\0\xff";
    // A space before a line changes nothing, but makes it an unusual one.
    for (std::string const usual :
         {"(1757617431.821276) can0 167#727FC3000019E500", "(1757617431.821276) vcan12 7FF#",
          "(0000000001.000001) c 000#0a", "(1757617431.821276) can255 1FFFFFFF#0102030405060708",
          "(9999999999.999999) can0 0c00000b#fcFF"}) {
        Frame frame;
        ASSERT_EQ(CandumpLog().parse(usual, frame).kind, LineKind::Frame) << usual;
        for (std::size_t i = 0; i <= usual.size(); ++i) {
            std::string shorter = usual;
            if (i < usual.size())
                shorter.erase(i, 1);
            EXPECT_EQ(parsed(shorter), parsed(" " + shorter)) << shorter;
            for (char const other : std::string_view(others, sizeof others - 1)) {
                std::string longer = usual, changed = usual;
                longer.insert(i, 1, other);
                changed[std::min(i, usual.size() - 1)] = other;
                EXPECT_EQ(parsed(longer), parsed(" " + longer)) << longer;
                EXPECT_EQ(parsed(changed), parsed(" " + changed)) << changed;
            }
        }
    }
}

// A log torn by a crash may have blocks of zeros.
TEST(CandumpLogTest, zerosInsteadOfASecondAreNoSecond) {
    std::string const line = std::string(12, '\0') + "000001) can0 123#01";
    EXPECT_EQ(parsed(line), "malformed: line does not begin with a time in parentheses");
}

TEST(CandumpLogTest, usualLineIsReadWithoutLookingBehindItsEnd) {
    std::string const line = "(1757617431.821276) can0 12345678#0102030405060708";
    for (std::size_t length = 0; length <= line.size(); ++length) {
        std::vector<char> const exact(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length));
        std::string_view const cut(exact.data(), exact.size()); // on the heap, where the sanitizer sees its end
        EXPECT_EQ(parsed(cut), parsed(" " + std::string(cut))) << cut;
    }
}

TEST(CandumpLogTest, recognitionAsksForParenthesisAndDigit) {
    EXPECT_TRUE(CandumpLog::fits("(1757617431.821276) can0 167#72"));
    EXPECT_TRUE(CandumpLog::fits(" (1"));
    EXPECT_FALSE(CandumpLog::fits("(a"));
    EXPECT_FALSE(CandumpLog::fits("("));
    EXPECT_FALSE(CandumpLog::fits(""));
    EXPECT_FALSE(CandumpLog::fits("date Sat Sep 30"));
}

} // namespace
} // namespace qztool
