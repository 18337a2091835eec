// Reads the frames of a recording that consists of lines.
#pragma once

#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/text/LineFormat.h"
#include "tools/recordings/text/LineSource.h"

#include <functional>
#include <memory>
#include <optional>
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

    // Null as long as no line looked like one.
    RecordingFormat const* format() const { return d_format; }

private:
    Next stop(LineSource::Next reason);
    ParsedLine parse(std::string_view line, Frame& frame);
    void recognise(std::string_view line);

    InputBuffer& d_input;
    Findings& d_findings;
    LineSource d_source;
    RecordingFormat const* d_format = nullptr;
    std::unique_ptr<LineFormat> d_lineFormat;
    std::uint64_t d_lines = 0;
};

} // namespace qztool
