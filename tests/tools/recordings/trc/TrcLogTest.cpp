// Lines of TRC logs of all versions, valid and damaged, and headers.
#include "tools/recordings/trc/TrcLog.h"

#include "tests/tools/recordings/LocalZone.h"
#include "tests/tools/recordings/ReaderText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace qztool {
namespace {

std::string parsed(TrcLog& log, std::string_view line) {
    Frame frame;
    frame.flags = 0xFFFF;
    frame.bus = Bus::Lin;
    frame.channel = 77;
    ParsedLine const result = log.parse(line, frame);
    if (result.kind == LineKind::Malformed)
        return std::string("malformed: ") + result.cause;
    if (result.cause != nullptr)
        return std::string("skipped: ") + result.cause;
    return result.kind == LineKind::Frame ? fullTextOf(frame) : "other";
}

struct Case {
    char const* line;
    char const* expected;
};

// Lines of one log, in order.
void check(std::initializer_list<Case> cases) {
    TrcLog log;
    for (Case const& oneCase : cases)
        EXPECT_EQ(parsed(log, oneCase.line), oneCase.expected) << oneCase.line;
}

TEST(TrcLogTest, formatIsToldFromALine) {
    EXPECT_TRUE(TrcLog::fits(";$FILEVERSION=1.1"));
    EXPECT_TRUE(TrcLog::fits(";####"));
    EXPECT_TRUE(TrcLog::fits("     1)      1841  0001  8  00 00 00 00 00 00 00 00"));
    for (char const* const line : {"", "1 1059.900 DT 0300 Rx 7", "(1.0) can0 123#", "0.5 1 64 Rx d 0", ") 1", "// 1)"})
        EXPECT_FALSE(TrcLog::fits(line)) << line;
}

TEST(TrcLogTest, version10) {
    check({
        {";##########################################################################", "other"},
        {";   C:\\TraceFile.trc", "other"},
        {"     1)      1841  0001  8  00 01 02 03 04 05 06 FF", "1841000 can 0 001 - 00010203040506FF"},
        {"     2)      1842  0008  4  ERROR 00 19 08 08", "1842000 can 0 000 error "},
        {"     3)      1843  FFFFFFFF  4  00 00 00 04  ------BUSLIGHT", "skipped: warning"},
        {"     4)      1844  0100  3  RTR", "1844000 can 0 100 remote 3 bytes"},
        {"     5)      1845  1FFFFFFF  0", "1845000 can 0 1FFFFFFF - "},
        {"", "other"},
    });
}

TEST(TrcLogTest, version11) {
    check({
        {";$FILEVERSION=1.1", "other"},
        {"     1)     17535.4  Tx     00000100  8  00 00 00 00 00 00 00 00 ",
         "17535400 can 0 00000100 tx 0000000000000000"},
        {"     2)     17540.3  Warng  FFFFFFFF  4  00 00 00 08  BUSHEAVY ", "skipped: warning"},
        {"     5)     19295.4  Rx         0000  1  0A", "19295400 can 0 000 rx 0A"},
        {"    12)     48937.6  Rx         0704  1  RTR", "48937600 can 0 704 remote,rx 1 bytes"},
        {"    13)     48938.0  Error      0008  4  00 19 08 08", "48938000 can 0 000 error "},
    });
}

TEST(TrcLogTest, version12) {
    check({
        {";$FILEVERSION=1.2", "other"},
        {"     1)      1059.900 1  Rx        0300  7  00 00 00 00 04 00 00", "1059900 can 1 300 rx 00000000040000"},
        {"     2)      1283.231 2  Rx    00000300  0", "1283231 can 2 00000300 rx "},
        {"     3)      1298.945 1  Warng FFFFFFFF  4  00 00 00 08  BUSHEAVY", "skipped: warning"},
        {"     4)      1323.201 1  Rx        0300  3  RTR", "1323201 can 1 300 remote,rx 3 bytes"},
        {"     5)      1323.201 1  Error     0008  4  00 19 08 08", "1323201 can 1 000 error "},
    });
}

TEST(TrcLogTest, version13) {
    check({
        {";$FILEVERSION=1.3", "other"},
        {"     1)      1059.900 1  Rx        0300 -  7    00 00 00 00 04 00 00", "1059900 can 1 300 rx 00000000040000"},
        {"     2)      1283.231 16 Tx    00000300 -  2    01 02", "1283231 can 16 00000300 tx 0102"},
        {"     3)      1298.945 1  Warng FFFFFFFF -  4    00 00 00 08  BUSHEAVY", "skipped: warning"},
        {"     4)      1323.201 1  Rx        0300 -  3    RTR", "1323201 can 1 300 remote,rx 3 bytes"},
        {"     5)      1334.416 1  Error     0008 -  4    00 19 08 08", "1334416 can 1 000 error "},
    });
}

TEST(TrcLogTest, version20) {
    check({
        {";$FILEVERSION=2.0", "other"},
        {";$COLUMNS=N,O,T,I,d,l,D", "other"},
        {"      1      1059.900 DT     0300 Rx 7  00 00 00 00 04 00 00", "1059900 can 0 300 rx 00000000040000"},
        {"      2      1283.231 DT 18EFC034 Tx 8  01 02 03 04 05 06 07 08",
         "1283231 can 0 18EFC034 tx 0102030405060708"},
        {"      3      1298.945 RR     0100 Rx 3", "1298945 can 0 100 remote,rx 3 bytes"},
        {"      4      1323.201 FD     0500 Rx 12 01 02 03 04 05 06 07 08 09 0A 0B 0C",
         "1323201 can 0 500 fd,rx 0102030405060708090A0B0C"},
        {"      5      1334.416 FB     0500 Rx 1  01", "1334416 can 0 500 fd,brs,rx 01"},
        {"      6      1334.222 FE     0500 Rx 1  01", "1334222 can 0 500 fd,esi,rx 01"},
        {"      7      1335.156 BI     0500 Rx 1  01", "1335156 can 0 500 fd,brs,esi,rx 01"},
        {"      8      1336.543 ST          Rx    00 00 00 08", "skipped: hardware status"},
        {"      9      1337.123 ER          Rx    04 00 02 00 00", "1337123 can 0 000 error "},
        {"     10      1338.321 EC          Rx    02 02", "skipped: error counters"},
        {"     11      1339.000 EV User-defined event", "skipped: event"},
    });
}

TEST(TrcLogTest, version21) {
    check({
        {";$FILEVERSION=2.1", "other"},
        {";$COLUMNS=N,O,T,B,I,d,R,L,D", "other"},
        {"      1      2501.000 DT 2      00C8 Tx -  8    09 08 07 06 05 04 03 02",
         "2501000 can 2 0C8 tx 0908070605040302"},
        {"      2      2501.001 FB 1  000000C8 Rx -  9    01 02 03 04 05 06 07 08 09 0A 0B 0C ",
         "2501001 can 1 000000C8 fd,brs,rx 0102030405060708090A0B0C"},
        {"      3      2501.002 RR 1      00C8 Rx -  3", "2501002 can 1 0C8 remote,rx 3 bytes"},
        {"      4      2501.003 ER 3         - Rx -  5    04 00 02 00 00", "2501003 can 3 000 error "},
        {"      5      2501.004 ST 1         - Rx -  4    00 00 00 08", "skipped: hardware status"},
        // Nine and more in the code of a classic frame mean eight bytes.
        {"      6      2501.005 DT 1      00C8 Rx -  15   01 02 03 04 05 06 07 08",
         "2501005 can 1 0C8 rx 0102030405060708"},
    });
}

TEST(TrcLogTest, columnsMayBeInAnotherOrder) {
    check({
        {";$FILEVERSION=2.1", "other"},
        {";$COLUMNS=O,B,T,l,I,D", "other"},
        {"1.5 7 FD 2 123 01 02", "1500 can 7 123 fd 0102"},
        {";$COLUMNS=O,T,I,D", "malformed: columns lack one of time, type, identifier, length and data"},
        {";$COLUMNS=O,T,I,D,L", "malformed: data is not the last column"},
        {";$COLUMNS=O,T,x,L,D", "malformed: columns are not as in version 2.1"},
        {";$COLUMNS=OT", "malformed: columns are not as in version 2.1"},
        {";$COLUMNS=N,N,N,N,N,N,N,N,N,N,N,N,N", "malformed: columns are not as in version 2.1"},
        {"2.5 7 FD 1 123 01", "2500 can 7 123 fd 01"},
    });
}

TEST(TrcLogTest, timeIsExactToTheMicrosecond) {
    check({
        {"1) 9007199254740.993 0001 0", "9007199254740993 can 0 001 - "},
        {"1) 18446744073709549.999 0001 0", "18446744073709549999 can 0 001 - "},
        {"1) 18446744073709551 0001 0", "malformed: time is not a number of milliseconds"},
        {"1) 0.0019 0001 0", "1 can 0 001 - "},
        {"1) 5. 0001 0", "5000 can 0 001 - "},
        {"1) -5 0001 0", "malformed: time is not a number of milliseconds"},
        {"1) 5.x 0001 0", "malformed: time is not a number of milliseconds"},
        {"1) . 0001 0", "malformed: time is not a number of milliseconds"},
    });
}

TEST(TrcLogTest, damagedLinesAreMalformed) {
    check({
        {"1) 5 0800 0", "malformed: identifier of 4 digits above 7FF"},
        {"1) 5 20000000 0", "malformed: identifier above 1FFFFFFF"},
        {"1) 5 00x1 0", "malformed: identifier is not a hexadecimal number"},
        {"1) 5 0001 x", "malformed: length is not a number"},
        {"1) 5 0001 16", "malformed: length code above 15"},
        {"1) 5 0001 2 01", "malformed: fewer data bytes than the length says"},
        {"1) 5 0001 1 100", "malformed: data byte is not a hexadecimal number up to FF"},
        {"1) 5 0001 1 0x", "malformed: data byte is not a hexadecimal number up to FF"},
        {"1) 5 0001", "malformed: line ends before its columns do"},
        {"1)", "malformed: line ends before its columns do"},
        {";$FILEVERSION=1.4", "malformed: file version is not one of 1.0 to 1.3, 2.0 and 2.1"},
        {";$FILEVERSION=2.0", "other"},
        {"1 5 XX 0001 Rx 0", "malformed: type of line is not known"},
        {"1 5 DT 0001 rx 0", "malformed: direction is neither Rx nor Tx"},
        {"1 5 DT 0001 Rx 9", "malformed: more than 8 data bytes"},
        {"1 5 FD 0001 Rx 65", "malformed: more than 64 data bytes"},
        {";$FILEVERSION=2.1", "other"},
        {"1 5 DT 256 0001 Rx - 0", "malformed: bus is not a number up to 255"},
        {"1 5 DT - 0001 Rx - 0", "5000 can 0 001 rx "},
    });
}

class TrcStartTest : public testing::Test {
protected:
    static std::optional<std::uint64_t> startOf(std::string const& value) {
        TrcLog log;
        parsed(log, ";$STARTTIME=" + value);
        return log.startTime();
    }

    LocalZone d_zone;
};

// The file says 30.09.2017 22:06:13.191 for the first of these, and a double of days is exact to a microsecond.
TEST_F(TrcStartTest, startIsInLocalTime) {
    EXPECT_NEAR(static_cast<double>(startOf("43008.920986006946").value_or(0)), 1'506'801'973'191'000., 1);
    EXPECT_EQ(startOf("43101"), 1'514'761'200'000'000U); // 1.1.2018, one hour before UTC's
    EXPECT_EQ(startOf("43101.5  "), 1'514'804'400'000'000U);
}

TEST_F(TrcStartTest, noDateIsNoStart) {
    for (char const* const value : {"", "x", "0", "-5", "1e300", "nan", "200001"})
        EXPECT_EQ(startOf(value), std::nullopt) << value;
    TrcLog log;
    EXPECT_EQ(log.startTime(), std::nullopt);
}

TEST(TrcPublicFilesTest, areReadWhole) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr || !std::filesystem::is_directory(std::string(data) + "/trc-blf"))
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder with TRC files";
    constexpr struct {
        char const* name;
        unsigned frames;
        char const* last;
    } cases[] = {
        {"test_CanMessage.trc", 2, "17876708 can 1 6F9 rx 050C000000000000"},
        {"test_CanMessage_V1_1.trc", 11, "48937600 can 0 704 remote,rx 1 bytes"},
    };
    for (auto const& [name, frames, last] : cases) {
        std::ifstream file(std::string(data) + "/trc-blf/" + name);
        TrcLog log;
        unsigned count = 0;
        std::string lastFrame;
        for (std::string line; std::getline(file, line);) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            std::string const text = parsed(log, line);
            EXPECT_EQ(text.find("malformed"), std::string::npos) << line << ": " << text;
            if (text.find("skipped") == std::string::npos && text != "other") {
                ++count;
                lastFrame = text;
            }
        }
        EXPECT_EQ(count, frames) << name;
        EXPECT_EQ(lastFrame, last) << name;
        EXPECT_NE(log.startTime(), std::nullopt) << name;
    }
}

} // namespace
} // namespace qztool
