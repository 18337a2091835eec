// Fuzz target: any bytes as an ASC log.
#include "tests/fuzz/TraceText.h"
#include "tools/base/Numbers.h"
#include "tools/recordings/text/AscLog.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

using namespace qztool;

std::string written(Frame const& frame) {
    if (frame.bus == Bus::FlexRay) {
        std::string line =
            secondsText(frame.timestamp) + " Fr RMSG 0 0 " + std::to_string(frame.channel) + " " +
            std::to_string((frame.is(frameFlag::channelA) ? 1 : 0) + (frame.is(frameFlag::channelB) ? 2 : 0)) + " " +
            hexText(frame.address, 1) + " " + hexText(frame.cycle, 1) +
            (frame.is(frameFlag::received) ? " Rx 0 " : " Tx 0 ") + (frame.is(frameFlag::null) ? "1" : "2") +
            " 0 0 0 x 0 " + hexText(frame.length, 1);
        for (std::size_t i = 0; i < frame.length; ++i)
            line += " " + hexText(frame.bytes[i], 2);
        return line;
    }
    if (frame.bus == Bus::Lin) {
        std::string line = secondsText(frame.timestamp) + " L" + std::to_string(frame.channel) + " " +
                           hexText(frame.address, 1) + (frame.is(frameFlag::received) ? " Rx " : " Tx ") +
                           std::to_string(frame.length);
        for (std::size_t i = 0; i < frame.length; ++i)
            line += " " + hexText(frame.bytes[i], 2);
        return line;
    }
    if (frame.is(frameFlag::fd)) {
        std::string line = secondsText(frame.timestamp) + " CANFD " + std::to_string(frame.channel) + " Rx " +
                           hexText(frame.address, 1) + (frame.extended() ? "x " : " ") +
                           (frame.is(frameFlag::bitRateSwitch) ? "1 " : "0 ") +
                           (frame.is(frameFlag::errorState) ? "1 0 " : "0 0 ") + std::to_string(frame.length);
        for (std::size_t i = 0; i < frame.length; ++i)
            line += " " + hexText(frame.bytes[i], 2);
        return line;
    }
    std::string line = secondsText(frame.timestamp) + " " + std::to_string(frame.channel) + " " +
                       hexText(frame.address, 1) + (frame.extended() ? "x" : "") + " Rx d " +
                       std::to_string(frame.length);
    for (std::size_t i = 0; i < frame.length; ++i)
        line += " " + hexText(frame.bytes[i], 2);
    return line;
}

std::string parsed(AscLog& log, std::string const& line) {
    Frame frame = usedFrame();
    return textOf(log.parse(line, frame), frame);
}

// The line with other spaces, which make no difference.
std::string respaced(std::string const& line) {
    std::string result = "\t";
    for (char const c : line)
        result += c == ' ' ? "\t " : std::string(1, c);
    return result + " ";
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    AscLog log;
    AscLog other;
    for (std::string const& line : linesOf(text)) {
        Frame frame = usedFrame();
        ParsedLine const result = log.parse(line, frame);
        std::string const found = textOf(result, frame);
        expectEqual(parsed(other, respaced(line)), found, "with other blanks", line);
        if (result.kind != LineKind::Frame || frame.is(frameFlag::error | frameFlag::remote))
            continue;
        expectWellFormed(frame, line);
        expect(frame.channel >= 1, "channel", line);
        AscLog fresh;
        expectEqual(parsed(fresh, written(frame)), found, "written and read again", line);
    }
    expectReader<AscLog>(text);
    return 0;
}
