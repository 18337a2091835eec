// Frames as candump text, which is read again.
#include "tools/cut/CandumpText.h"
#include "tests/tools/recordings/ReaderText.h"
#include "tools/recordings/text/CandumpLog.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

Frame frameWith(std::uint32_t address, unsigned flags, std::size_t length) {
    Frame frame;
    frame.timestamp = 1'700'000'001'000'042;
    frame.channel = 3;
    frame.address = address;
    frame.flags = static_cast<std::uint16_t>(flags);
    frame.length = static_cast<std::uint8_t>(length);
    for (std::size_t i = 0; i < length; ++i)
        frame.bytes[i] = static_cast<std::uint8_t>(0xF7 + i);
    return frame;
}

std::string lineOf(Frame const& frame) {
    std::string text = "before\n";
    return appendCandumpLine(frame, text) ? text.substr(7) : "none";
}

TEST(CandumpText, framesOfAllKindsAreWrittenAndReadAgain) {
    using namespace frameFlag;
    struct Case {
        Frame frame;
        char const* line;
    };
    Case const cases[] = {
        {frameWith(0x12, 0, 2), "012#F7F8"},
        {frameWith(0x12, 0, 0), "012#"},
        {frameWith(0x12, extended, 1), "00000012#F7"},
        {frameWith(0x1FFFFFFF, extended, 8), "1FFFFFFF#F7F8F9FAFBFCFDFE"},
        {frameWith(0x7FF, remote, 0), "7FF#R"},
        {frameWith(0x7FF, remote, 4), "7FF#R4"},
        {frameWith(0x12, fd, 0), "012##0"},
        {frameWith(0x12, fd | bitRateSwitch | errorState, 12), "012##3F7F8F9FAFBFCFDFEFF000102"},
        {frameWith(0x88, error | extended, 8), "20000088#F7F8F9FAFBFCFDFE"},
    };
    for (Case const& each : cases) {
        std::string const line = lineOf(each.frame);
        EXPECT_EQ(line, std::string("(1700000001.000042) can3 ") + each.line + "\n");
        Frame again;
        CandumpLog log;
        EXPECT_EQ(log.parse(std::string_view(line).substr(0, line.size() - 1), again).kind, LineKind::Frame) << line;
        EXPECT_EQ(fullTextOf(again), fullTextOf(each.frame));
    }
}

TEST(CandumpText, errorFramesHaveEightBytes) {
    EXPECT_EQ(lineOf(frameWith(0, frameFlag::error, 0)), "(1700000001.000042) can3 20000000#0000000000000000\n");
}

TEST(CandumpText, timesFromTheStartOfARecordingHaveTenDigits) {
    Frame frame = frameWith(1, 0, 0);
    frame.timestamp = 15'991;
    EXPECT_EQ(lineOf(frame), "(0000000000.015991) can3 001#\n");
}

TEST(CandumpText, framesOfOtherBusesHaveNone) {
    for (Bus const bus : {Bus::Lin, Bus::FlexRay}) {
        Frame frame = frameWith(1, 0, 2);
        frame.bus = bus;
        EXPECT_EQ(lineOf(frame), "none");
    }
}

} // namespace
} // namespace qztool
