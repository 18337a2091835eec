// Lines of GVRET CSV logs, valid and damaged.
#include "tools/recordings/gvret/GvretLog.h"

#include "tests/tools/recordings/ReaderText.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

constexpr char header[] = "Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8";

std::string parsed(GvretLog& log, std::string_view line) {
    Frame frame;
    frame.flags = 0xFFFF;
    frame.length = 77;
    ParsedLine const result = log.parse(line, frame);
    return result.kind == LineKind::Frame ? fullTextOf(frame) : result.cause != nullptr ? result.cause : "other";
}

TEST(GvretLogTest, framesAreRead) {
    GvretLog log;
    EXPECT_EQ(parsed(log, header), "other");
    EXPECT_EQ(parsed(log, ""), "other");
    EXPECT_EQ(parsed(log, "166064000,0000021A,false,Rx,0,8,FE,36,12,FE,69,05,07,AD,"),
              "166064000 can 0 21A rx FE3612FE690507AD");
    EXPECT_EQ(parsed(log, "1,18FEF100,true,Tx,2,2,0a,B"), "1 can 2 18FEF100 tx 0A0B");
    EXPECT_EQ(parsed(log, "1, 123 ,false,Rx,1,0,"), "1 can 1 123 rx ");
    EXPECT_EQ(parsed(log, "1,123,false,Rx,1,9,1,2,3,4,5,6,7,8,9"), "1 can 1 123 fd,rx 010203040506070809");
}

TEST(GvretLogTest, olderLogsHaveNoDirection) {
    GvretLog log;
    EXPECT_EQ(parsed(log, "Time Stamp,ID,Extended,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8"), "other");
    EXPECT_EQ(parsed(log, "5,123,false,1,2,0A,0B,"), "5 can 1 123 - 0A0B");
}

TEST(GvretLogTest, damagedLinesStateTheirCause) {
    GvretLog log;
    for (auto const& [line, cause] : std::initializer_list<std::pair<char const*, char const*>>{
             {"x,123,false,Rx,0,0", "time is not a number of microseconds"},
             {"1", "column Extended is neither true nor false"},
             {"1,123,0,Rx,0,0", "column Extended is neither true nor false"},
             {"1,800,false,Rx,0,0", "identifier is not a hexadecimal number that fits"},
             {"1,20000000,true,Rx,0,0", "identifier is not a hexadecimal number that fits"},
             {"1,12G,false,Rx,0,0", "identifier is not a hexadecimal number that fits"},
             {"1,123,false,,0,0", "direction is neither Rx nor Tx"},
             {"1,123,false,Rx,256,0", "bus is not a number up to 255"},
             {"1,123,false,Rx,0,65", "length is not a number up to 64"},
             {"1,123,false,Rx,0,2,01", "fewer data bytes than the length says, or one that is not hexadecimal"},
             {"1,123,false,Rx,0,1,100", "fewer data bytes than the length says, or one that is not hexadecimal"}})
        EXPECT_EQ(parsed(log, line), cause) << line;
}

TEST(GvretLogTest, headerIsNeeded) {
    EXPECT_TRUE(GvretLog::fits(header));
    for (char const* const line :
         {"", "Time", "Time Stamp,ID", "timestamp,arbitration_id,extended,remote", "1,123,false"})
        EXPECT_FALSE(GvretLog::fits(line)) << line;
}

} // namespace
} // namespace qztool
