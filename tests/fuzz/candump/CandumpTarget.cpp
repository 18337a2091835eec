// Fuzz target: any bytes as a candump log.
#include "tests/fuzz/TraceText.h"
#include "tools/base/Numbers.h"
#include "tools/recordings/text/CandumpLog.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

using namespace qztool;

std::string written(Frame const& frame) {
    std::string line = "(" + secondsText(frame.timestamp) + ") can" + std::to_string(frame.channel) + " " +
                       hexText(frame.address, frame.extended() ? 8 : 3) + "#";
    if (frame.is(frameFlag::remote))
        return line + "R" + std::to_string(frame.length);
    if (frame.is(frameFlag::fd))
        line += "#" + std::to_string((frame.is(frameFlag::bitRateSwitch) ? 1 : 0) +
                                     (frame.is(frameFlag::errorState) ? 2 : 0));
    for (std::size_t i = 0; i < frame.length; ++i)
        line += hexText(frame.bytes[i], 2);
    return line;
}

std::string parsed(std::string const& line) {
    Frame frame = usedFrame();
    return textOf(CandumpLog().parse(line, frame), frame);
}

void readLine(std::string const& line) {
    Frame frame = usedFrame();
    ParsedLine const result = CandumpLog().parse(line, frame);
    std::string const found = textOf(result, frame);
    // The usual line has a path of its own through the reader, which a space before it turns off.
    expectEqual(parsed(" " + line), found, "behind a blank", line);
    if (result.kind != LineKind::Frame || frame.is(frameFlag::error))
        return;
    expectWellFormed(frame, line);
    expectEqual(parsed(written(frame)), found, "written and read again", line);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    for (std::string const& line : linesOf(text))
        readLine(line);
    expectReader<CandumpLog>(text);
    return 0;
}
