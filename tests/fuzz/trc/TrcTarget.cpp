// Fuzz target: any bytes as a TRC log.
#include "tests/fuzz/RecordingText.h"
#include "tools/recordings/trc/TrcLog.h"

#include <algorithm>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

using namespace qztool;

std::string parsed(TrcLog& log, std::string const& line) {
    Frame frame;
    frame.flags = 0xFFFF;
    frame.length = 77;
    frame.channel = 77;
    ParsedLine const result = log.parse(line, frame);
    if (result.kind != LineKind::Frame)
        return result.cause != nullptr ? result.cause : "other";
    expectWellFormed(frame);
    return fullTextOf(frame);
}

} // namespace

// Spaces around a line change nothing.
int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view text(reinterpret_cast<char const*>(data), size);
    TrcLog log;
    TrcLog other;
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size());
        std::string const line(text.substr(0, end));
        expectEqual(parsed(other, " \t" + line + "  "), parsed(log, line), "between blanks", line);
        expect(log.startTime() == other.startTime(), "start", line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return 0;
}
