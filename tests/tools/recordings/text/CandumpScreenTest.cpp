// What candump prints to a screen: the same frames in every form, single lines, and what times count from.
#include "tools/recordings/text/CandumpScreen.h"

#include "tests/tools/recordings/LocalZone.h"
#include "tests/tools/recordings/ReaderText.h"
#include "tests/tools/recordings/RecordingFixtures.h"
#include "tests/tools/recordings/text/CandumpPrinter.h"
#include "tools/recordings/text/TextReader.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

Frame frameOf(std::uint64_t time, unsigned channel, std::uint32_t address, unsigned flags, std::string_view data) {
    Frame frame;
    frame.timestamp = time;
    frame.channel = static_cast<std::uint8_t>(channel);
    frame.address = address;
    frame.flags = static_cast<std::uint16_t>(flags);
    frame.length = static_cast<std::uint8_t>(data.size());
    std::copy(data.begin(), data.end(), frame.bytes.begin());
    return frame;
}

constexpr std::uint64_t begin = 1'757'617'431'821'276;

std::vector<Frame> frames() {
    using namespace frameFlag;
    std::string const most(64, 'x');
    return {
        frameOf(begin, 0, 0x123, received, "\x11\x22\x33\x44\x55\x66\x77\x88"),
        frameOf(begin + 100, 1, 0x12345678, extended | transmitted, "\x11"),
        frameOf(begin + 150, 1, 0x7FF, received | remote, ""),
        frameOf(begin + 99'900, 1, 0x123, extended | received | remote, std::string_view("\0\0\0\0", 4)),
        frameOf(begin + 1'000'000, 2, 0x124, fd | bitRateSwitch | received, "ABCDEFGHIJKL"),
        frameOf(begin + 1'000'010, 0, 0x124, fd | bitRateSwitch | errorState | transmitted, ""),
        frameOf(begin + 1'000'900, 0, 0x7E8, fd | received, "'`ERRORF"),
        frameOf(begin + 1'000'910, 0, 0x88, extended | error | received, std::string_view("\0\0\x80\x19\0\0\0\x0A", 8)),
        frameOf(begin + 1'000'920, 12, 0x0, received, ""),
        frameOf(begin + 3'000'000, 0, 0x124, extended | fd | received, most),
        frameOf(begin + 1'003'000'000, 0, 0x1, received, "\1\2\3"),
        frameOf(begin + 1'003'000'001, 0, 0x2, received, "'`"),
    };
}

RecordingText expectedOf(CandumpForm form) {
    RecordingText lines;
    for (Frame frame : frames()) {
        if (form.time == 'z' || form.time == 'd')
            frame.timestamp -= begin;
        if (form.time == '-')
            frame.timestamp = 0;
        if (!form.extra)
            frame.flags &= static_cast<std::uint16_t>(
                ~(frameFlag::received | frameFlag::transmitted | frameFlag::bitRateSwitch | frameFlag::errorState));
        lines.push_back(fullTextOf(frame));
    }
    if (form.dropped)
        lines.emplace_back("- 4 report of dropped frames");
    return lines;
}

std::string recordingIn(CandumpForm form) {
    CandumpPrinter printer(form);
    std::string content;
    for (Frame const& frame : frames())
        content += printer.line(frame);
    return content;
}

TEST(CandumpScreenTest, eachFormHoldsTheSameFrames) {
    LocalZone const zone;
    unsigned forms = 0;
    for (char const time : {'-', 'a', 'A', 'z', 'd'}) {
        for (unsigned options = 0; options < 512; ++options) {
            CandumpForm form;
            form.time = time;
            form.asText = (options & 1U) != 0;
            form.extra = (options & 2U) != 0;
            form.dropped = (options & 4U) != 0;
            form.explained = (options & 8U) != 0;
            form.binary = (options & 16U) != 0;
            form.swapped = (options & 32U) != 0;
            form.rawLength = (options & 64U) != 0;
            form.colours = options >> 7U;
            std::string const content = recordingIn(form);
            ASSERT_EQ(textOfRecording<TextReader>(content), expectedOf(form)) << content;
            ++forms;
        }
    }
    EXPECT_EQ(forms, 2560U);
}

TEST(CandumpScreenTest, linesOfLog2longBeginWithTheTime) {
    CandumpForm form;
    form.time = 'a';
    form.asText = true;
    form.log2long = true;
    EXPECT_EQ(recordingIn(form).front(), '(');
    EXPECT_EQ(textOfRecording<TextReader>(recordingIn(form)), expectedOf(form));
}

TEST(CandumpScreenTest, logFormatHoldsTheSameFrames) {
    RecordingText const text =
        textOfRecording<TextReader>("(1757617431.821276) can0 123#1122334455667788\n"
                                    "(1757617431.821376) can1 12345678#11 T\n"
                                    "DROPCOUNT: dropped 1 CAN frame on 'can0' socket (total drops 1)\n"
                                    "(1757617431.821426)   can1 7FF#R\n");
    EXPECT_EQ(text,
              (RecordingText{"1757617431821276 can 0 123 - 1122334455667788", "1757617431821376 can 1 12345678 tx 11",
                             "1757617431821426 can 1 7FF remote 0 bytes", "- 1 report of dropped frames"}));
}

std::string parsed(std::string_view line) {
    Frame frame = usedFrame();
    CandumpScreen screen;
    ParsedLine const result = screen.parse(line, frame);
    return result.kind == LineKind::Frame ? fullTextOf(frame) : textOf(result, frame);
}

TEST(CandumpScreenTest, damagedLinesStateTheirCause) {
    constexpr struct {
        char const* line;
        char const* expected;
    } cases[] = {
        {"  can0  123   [2]  01 02", "0 can 0 123 - 0102"},
        {"  can0  123   [2]  01 0a", "0 can 0 123 - 010A"},
        {"  can0  123 [2] 01 02", "0 can 0 123 - 0102"},
        {"  can0  123   {F}  01 02 03 04 05 06 07 08", "0 can 0 123 - 0102030405060708"},
        {"  can0  123   [1]  01  ", "0 can 0 123 - 01"},
        {"", "other"},
        {" \t", "other"},
        {"  can0", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"  can256  123   [0]", "malformed: channel number above 255"},
        {"  can0  12   [2]  01 02", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"  can0  123456789   [2]  01 02", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"  can0  800   [2]  01 02", "malformed: identifier of 3 digits above 7FF"},
        {"  can0  40000000   [2]  01 02", "malformed: identifier above 1FFFFFFF"},
        {"  can0  123   01 02", "malformed: identifier is not followed by a length in brackets"},
        {"  can0  123   []", "malformed: identifier is not followed by a length in brackets"},
        {"  can0  123   [2  01 02", "malformed: identifier is not followed by a length in brackets"},
        {"  can0  123   {G}", "malformed: identifier is not followed by a length in brackets"},
        {"  can0  123   {8  01", "malformed: identifier is not followed by a length in brackets"},
        {"  can0  123   [9]  01", "malformed: more than 8 data bytes"},
        {"  can0  123  [65]  01", "malformed: more than 64 data bytes"},
        {"  can0  123  [0012]  01", "skipped: CAN XL frame"},
        {"  can0  123   [2]  01", "malformed: fewer data bytes than the length says"},
        {"  can0  123   [2]  01 ", "malformed: fewer data bytes than the length says"},
        {"  can0  123   [2]", "malformed: fewer data bytes than the length says"},
        {"  can0  123   [2]  01 2", "malformed: data byte has neither two hexadecimal nor eight binary digits"},
        {"  can0  123   [2]  01 0G", "malformed: data byte has neither two hexadecimal nor eight binary digits"},
        {"  can0  123   [1]  00000002", "malformed: data byte has neither two hexadecimal nor eight binary digits"},
        {"  can0  123   [1]  0000001", "malformed: data byte has neither two hexadecimal nor eight binary digits"},
        {"  can0  123   [2]  01 02 03", "malformed: text after the frame"},
        {"  can0  123   [0]  01", "malformed: text after the frame"},
        {"  can0  RX - -  123   [0]", "0 can 0 123 rx "},
        {"  can0  RX - 123   [0]", "malformed: direction is not followed by B or -, and E or -"},
        {"  can0  RX E B  123   [0]", "malformed: direction is not followed by B or -, and E or -"},
        {" (x)  can0  123   [0]", "malformed: time stamp is not a number"},
        {" (1.0  can0  123   [0]", "malformed: time stamp is not closed by a parenthesis"},
        {" (2012-13-17 14:14:44.318850)  can0  123   [0]", "malformed: there is no such date, or it is before 1970"},
        {" (2012-08-17 24:14:44.318850)  can0  123   [0]", "malformed: there is no such date, or it is before 1970"},
        {" (1969-08-17 14:14:44.318850)  can0  123   [0]", "malformed: there is no such date, or it is before 1970"},
        {" (2012-08-17 14:14.318850)  can0  123   [0]", "malformed: date is not as in 2025-09-11 19:03:51.821276"},
        {" (2012-08-17 14:14:44.318850  can0  123   [0]", "malformed: time stamp is not closed by a parenthesis"},
        {"\tbus-error", "malformed: identifier has neither 3 nor 8 hexadecimal digits"},
        {"\33", "other"},
    };
    for (auto const& [line, expected] : cases)
        EXPECT_EQ(parsed(line), expected) << line;
}

TEST(CandumpScreenTest, formIsToldByAWholeLine) {
    for (char const* const line : {"  can0  123   [0]", "can0 123 [0]", " (000.000000)  can0  123   {8}  01",
                                   " (2025-09-11 19:03:51.821276)  can0  123  [12]  01"})
        EXPECT_TRUE(CandumpScreen::fits(line)) << line;
    for (char const* const line :
         {"", " ", "can0 123#01", "(1.0) can0 123#01", "date Sat Sep 30 15:06:13.191 2017", "0.5 1 123 Rx d 1 01",
          "1) 5 0001 0", ";$FILEVERSION=2.1", "(x) can0 123 [0]", "a b c", "can0 123 01", "can0 123 [9]"})
        EXPECT_FALSE(CandumpScreen::fits(line)) << line;
}

// The text of a recording with a frame at each of these times.
std::string recordingAt(std::initializer_list<char const*> times) {
    std::string content;
    for (char const* const time : times)
        content += std::string(" (") + time + ")  can0  123   [0] \n";
    return content;
}

std::string timesOf(std::string const& content, Pieces pieces = {}) {
    std::string times;
    for (std::string const& line : textOfRecording<TextReader>(content, pieces))
        times += line.substr(0, line.find(' ')) + ' ';
    return times;
}

TEST(CandumpScreenTest, timesSinceTheLineBeforeAreAddedUp) {
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "000.000005", "000.000009", "000.000007"})), "0 5 14 21 ");
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "000.010000", "000.010000", "000.010000"})), "0 10000 20000 30000 ");
    // Of lines that cannot be read as well.
    EXPECT_EQ(timesOf(" (000.000000)  can0  123   [0] \n (000.000009)  can0  123   [1] \n"
                      " (000.000007)  can0  123   [0] \n"),
              "0 16 ! ");
}

TEST(CandumpScreenTest, timesSinceTheFirstLineAreTakenAsTheyAre) {
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "000.000005", "000.000009", "001.000007"})), "0 5 9 1000007 ");
    EXPECT_EQ(timesOf(recordingAt({"000.000000"})), "0 ");
    // Two interfaces, the clocks of which are not read in order.
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "000.000005", "000.000003", "000.000010", "000.000011", "000.000012",
                                   "000.000013", "000.000014", "000.000015", "000.000016"})),
              "0 5 3 10 11 12 13 14 15 16 ");
}

// Byte by byte, no line is there before it is read.
TEST(CandumpScreenTest, aStepBackTellsTimesSinceTheLineBeforeOnAPipe) {
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "000.000005", "000.000009", "000.000007", "000.000001"}), {1, false}),
              "0 5 9 21 22 ");
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "000.000005", "000.000009"}), {1, false}), "0 5 9 ");
}

TEST(CandumpScreenTest, timesSince1970AreTakenAsTheyAre) {
    EXPECT_EQ(timesOf(recordingAt({"1757617431.821276", "1757617431.821275", "1757617431.821274"})),
              "1757617431821276 1757617431821275 1757617431821274 ");
    EXPECT_EQ(timesOf(recordingAt({"08255.460200", "08255.000001"})), "8255460200 8255000001 ");
    EXPECT_EQ(timesOf(recordingAt({"1757617431.821276999"})), "1757617431821276 ");
}

TEST(CandumpScreenTest, datesAreLocalTime) {
    LocalZone zone;
    EXPECT_EQ(timesOf(recordingAt({"2017-09-30 15:06:13.191000", "2017-12-31 23:59:59.999999"})),
              "1506776773191000 1514761199999999 ");
    zone.set("UTC0");
    EXPECT_EQ(timesOf(recordingAt({"2017-09-30 15:06:13.191000"})), "1506783973191000 ");
}

TEST(CandumpScreenTest, sumOfTimesDoesNotOverflow) {
    EXPECT_EQ(timesOf(recordingAt({"000.000000", "18446744073709.000000", "000.551615", "000.000001", "000.000001"})),
              "0 18446744073709000000 18446744073709551615 ! ");
}

} // namespace
} // namespace qztool
