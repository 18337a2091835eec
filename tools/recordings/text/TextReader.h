// Reads the frames of a recording that consists of lines.
#pragma once

#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/text/LineFormat.h"
#include "tools/recordings/text/LineSource.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qztool {

struct RecordingFormat;

// Takes the format from the first line that looks like one; lines before it are malformed unless they are blank.
class TextReader : public FrameReader {
public:
    TextReader(InputBuffer& input, Findings& findings);
    ~TextReader() override;

    Next next(Frame& frame) override;
    std::uint64_t place() const override { return d_lines; }
    char const* placeKind() const override { return "line"; }
    std::optional<std::uint64_t> startTime() const override {
        return d_lineFormat ? d_lineFormat->startTime() : std::nullopt;
    }

    // As RecordingReader's.
    std::string_view line() const { return d_line; }
    bool linesHaveTheirTimes() const { return !d_lineFormat || d_lineFormat->linesHaveTheirTimes(); }
    std::string const& header() const { return d_header; }
    std::size_t headers() const { return d_headers; }

    // Null as long as no line looked like one.
    RecordingFormat const* format() const { return d_format; }

private:
    Next stop(LineSource::Next reason);
    ParsedLine parse(std::string_view line, Frame& frame);
    void recognise(std::string_view line);
    void keepHeader(std::string_view line, ParsedLine const& parsed);

    InputBuffer& d_input;
    Findings& d_findings;
    LineSource d_source;
    RecordingFormat const* d_format = nullptr;
    std::unique_ptr<LineFormat> d_lineFormat;
    std::uint64_t d_lines = 0;
    std::string_view d_line; // of the current frame
    std::string d_header;
    std::size_t d_headers = 0;
    bool d_inHeader = false; // no frame has come since it began
};

} // namespace qztool
