// Fuzz target: any bytes as what candump prints to a screen, and any frames in any of its forms.
#include "tests/fuzz/Input.h"
#include "tests/fuzz/TraceText.h"
#include "tests/tools/recordings/ReaderText.h"
#include "tests/tools/recordings/text/CandumpPrinter.h"
#include "tools/recordings/text/CandumpLog.h"
#include "tools/recordings/text/TextReader.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

using namespace qztool;

std::string parsed(std::string const& line) {
    Frame frame = usedFrame();
    CandumpScreen screen;
    return textOf(screen.parse(line, frame), frame);
}

void readLine(std::string const& line) {
    Frame frame = usedFrame();
    CandumpScreen screen;
    ParsedLine const result = screen.parse(line, frame);
    expectEqual(parsed(" " + line), textOf(result, frame), "after a space", line);
    if (line.find('\33') == std::string::npos)
        expectEqual(parsed("\33[1m\33[34m" + line + "\33[0m"), textOf(result, frame), "in colour", line);
    if (result.kind == LineKind::Frame && !frame.is(frameFlag::error))
        expectWellFormed(frame, line);
}

Frame takeFrame(Input& input, bool mayBeExtra, std::uint64_t& time) {
    Frame frame;
    auto const kind = input.take<std::uint16_t>();
    frame.timestamp = time += input.take<std::uint32_t>();
    frame.channel = input.take<std::uint8_t>();
    frame.add(frameFlag::error, (kind & 0x7U) == 0);
    frame.add(frameFlag::extended, frame.is(frameFlag::error) || (kind & 0x8U) != 0);
    frame.add(frameFlag::fd, !frame.is(frameFlag::error) && (kind & 0x10U) != 0);
    frame.add(frameFlag::remote, !frame.is(frameFlag::error | frameFlag::fd) && (kind & 0x60U) == 0);
    if (mayBeExtra) {
        frame.add((kind & 0x80U) != 0 ? frameFlag::received : frameFlag::transmitted, true);
        frame.add(frameFlag::bitRateSwitch, frame.is(frameFlag::fd) && (kind & 0x100U) != 0);
        frame.add(frameFlag::errorState, frame.is(frameFlag::fd) && (kind & 0x200U) != 0);
    }
    frame.address =
        input.take<std::uint32_t>() & (frame.extended() ? highestExtendedIdentifier : highestStandardIdentifier);
    std::size_t const most = frame.is(frameFlag::fd) ? mostCanBytes : mostClassicBytes;
    frame.length = static_cast<std::uint8_t>(input.take<std::uint8_t>() % (most + 1));
    for (std::size_t i = 0; i < frame.length; ++i)
        frame.bytes[i] = input.take<std::uint8_t>();
    return frame;
}

// Times since another line are a matter of all lines together, and dates of the time zone.
void writeAndRead(Input& input) {
    auto const options = input.take<std::uint16_t>();
    CandumpForm form;
    form.time = "-aAzd"[options % 5];
    form.asText = (options & 0x10U) != 0;
    form.extra = (options & 0x20U) != 0;
    form.dropped = (options & 0x40U) != 0;
    form.explained = (options & 0x80U) != 0;
    form.binary = (options & 0x100U) != 0;
    form.swapped = (options & 0x200U) != 0;
    form.rawLength = (options & 0x400U) != 0;
    form.colours = options >> 11U & 3U;
    CandumpPrinter printer(form);
    std::string content;
    std::string expected;
    std::uint64_t time = 1'757'617'431'821'276;
    while (input.left() != 0) {
        Frame frame = takeFrame(input, form.extra, time);
        content += printer.line(frame);
        frame.timestamp = form.time == 'a' ? frame.timestamp : 0;
        expected += fullTextOf(frame) + '\n';
    }
    std::string found;
    for (std::string line : textOfRecording<TextReader>(content)) {
        if (line.front() == '-')
            continue; // reports of dropped frames
        if (form.time != 'a' && line.front() != '!')
            line.replace(0, line.find(' '), "0");
        found += line + '\n';
    }
    expectEqual(found, expected, "written and read again", content);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    for (std::string const& line : linesOf(text))
        readLine(line);
    expectReader<CandumpLog>(text);
    Input input(data, size);
    writeAndRead(input);
    return 0;
}
