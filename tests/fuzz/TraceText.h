// What the fuzz targets of both log formats share: lines, frames, and the promises of the reader above the formats.
#pragma once

#include "tests/fuzz/Expect.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/tools/recordings/RecordingFixtures.h"
#include "tools/recordings/Formats.h"
#include "tools/recordings/RecordingReader.h"
#include "tools/recordings/compressed/Compression.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// As the reader takes them: without their ends, "\n" or "\r\n", of which the last one may lack either, and the first
// without a byte order mark.
inline std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(text == "\xEF\xBB\xBF" ? 0 : 3);
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size());
        std::string line(text.substr(0, end));
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

inline void expectWellFormed(Frame const& frame, std::string const& line) {
    if (frame.bus == Bus::Lin) {
        expect(frame.length <= mostClassicBytes && frame.address <= highestLinIdentifier, "LIN frame", line);
        return;
    }
    if (frame.bus == Bus::FlexRay) {
        expect(frame.length <= mostFrameBytes && frame.address != 0 && frame.address <= highestSlot &&
                   frame.cycle <= 63,
               "FlexRay frame", line);
        return;
    }
    expect(frame.length <= (frame.is(frameFlag::fd) ? mostCanBytes : mostClassicBytes) && frame.bus == Bus::Can,
           "length", line);
    expect(frame.address <= (frame.extended() ? 0x1FFFFFFFU : 0x7FFU), "identifier", line);
}

// The line numbers in such a text as "3, 17-20 and 5 more" stand in order, within `lines`.
inline void expectLineNumbers(std::string const& numbers, std::size_t lines) {
    std::size_t last = 0;
    char const* position = numbers.c_str();
    while (*position != '\0') {
        char* end = nullptr;
        std::size_t const number = std::strtoul(position, &end, 10);
        if (std::string_view(end) == " more")
            return;
        expect(number > last && number <= lines, "line numbers", numbers);
        last = number;
        position = end + std::strcspn(end, "0123456789");
    }
    expect(last != 0, "line numbers", numbers);
}

// Reads the text as the command does, if it is text, and compares with what `Log`, which reads logs of that format,
// makes of its lines one by one.
template <typename Log>
void expectReader(std::string_view text) {
    // Recordings that are not text have targets of their own.
    if (compressionOf(text) != nullptr || binaryFormatOf(text) != nullptr)
        return;
    static MemoryFile file;
    file.fill(text);
    NeverStop stop;
    RecordingReader reader(file.path(), stop);
    std::string found;
    Frame frame = usedFrame();
    while (reader.next(frame) == RecordingReader::Next::Frame)
        found += textOf(frame) + '\n';
    if (!reader.problem().empty())
        return expect(reader.place() == 0, "problem", reader.problem());

    std::vector<std::string> const lines = linesOf(text);
    expect(reader.place() == lines.size() && reader.bytesRead() == text.size(), "all is read");
    std::size_t malformed = 0;
    for (Malformed const& group : reader.findings().malformed()) {
        expectLineNumbers(group.places.text(), lines.size());
        malformed += group.places.count();
    }
    expect(malformed == reader.findings().malformedCount(), "malformed lines by their causes");

    auto const first = std::find_if(lines.begin(), lines.end(), lineFormatOf);
    if (first == lines.end() || lineFormatOf(*first)->looksLike != Log::fits)
        return;
    std::string expected;
    std::string following;
    for (auto line = first; line != lines.end(); ++line)
        following += *line + '\n';
    Log log;
    log.lookAhead(following);
    for (auto line = first; line != lines.end(); ++line)
        if (log.parse(*line, frame).kind == LineKind::Frame)
            expected += textOf(frame) + '\n';
    expectEqual(found, expected, "frames");
}

} // namespace qztool
