// Lines, their numbers and their format.
#include "tools/recordings/text/TextReader.h"

#include "tools/recordings/Formats.h"
#include "tools/recordings/text/TextCursor.h"

#include <algorithm>

namespace qztool {

namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

bool isBlankLine(std::string_view line) {
    return std::all_of(line.begin(), line.end(), isBlank);
}

} // namespace

TextReader::TextReader(InputBuffer& input, Findings& findings)
    : d_input(input), d_findings(findings), d_source(input) {}

TextReader::~TextReader() = default;

FrameReader::Next TextReader::next(Frame& frame) {
    // So that the caller can look whether to stop, even if a large file holds no frames.
    constexpr unsigned mostLinesWithoutFrame = 65536;
    for (unsigned i = 0; i < mostLinesWithoutFrame; ++i) {
        std::string_view line;
        LineSource::Next const result = d_source.next(line);
        bool const isTooLong = result == LineSource::Next::TooLong;
        if (!isTooLong && result != LineSource::Next::Line)
            return stop(result);
        ++d_lines;
        ParsedLine const parsed = isTooLong ? malformedLine("line longer than 65536 bytes") : parse(line, frame);
        if (parsed.kind == LineKind::Frame) {
            d_line = line;
            d_inHeader = false;
            return Next::Frame;
        }
        keepHeader(line, parsed);
        if (parsed.kind == LineKind::Malformed)
            d_findings.addMalformed(parsed.cause, static_cast<std::size_t>(d_lines));
        else if (parsed.cause != nullptr)
            d_findings.addSkipped(parsed.cause);
    }
    return Next::Interrupted;
}

FrameReader::Next TextReader::stop(LineSource::Next reason) {
    if (reason == LineSource::Next::Interrupted)
        return Next::Interrupted;
    if (reason == LineSource::Next::Failed)
        d_findings.failReading(d_input.source().error());
    return Next::End;
}

ParsedLine TextReader::parse(std::string_view line, Frame& frame) {
    if (!d_lineFormat) {
        if (d_lines == 1 && line.substr(0, utf8Mark.size()) == utf8Mark)
            line.remove_prefix(utf8Mark.size());
        recognise(line);
    }
    if (d_lineFormat)
        return d_lineFormat->parse(line, frame);
    return isBlankLine(line) || isCommentLine(line) ? ParsedLine{} : malformedLine(noLineFormat());
}

// Comments that follow a header belong to it: they may state a version, or what the columns are.
void TextReader::keepHeader(std::string_view line, ParsedLine const& parsed) {
    constexpr std::size_t longest = std::size_t{64} * 1024;
    if (parsed.isHeader && !d_inHeader) {
        d_inHeader = true;
        d_header.clear();
        ++d_headers;
    }
    bool const belongs = parsed.isHeader || (parsed.kind == LineKind::Other && parsed.cause == nullptr);
    if (d_inHeader && belongs && !isBlankLine(line) && d_header.size() + line.size() < longest)
        d_header.append(line).append("\n");
}

void TextReader::recognise(std::string_view line) {
    d_format = lineFormatOf(line);
    if (d_format == nullptr)
        return;
    d_lineFormat = d_format->makeLineFormat();
    d_lineFormat->lookAhead(d_input.bytes());
}

} // namespace qztool
