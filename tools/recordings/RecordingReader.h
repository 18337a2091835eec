// Reads the frames of a trace log, whatever its format.
#pragma once

#include "tools/base/LineNumbers.h"
#include "tools/recordings/Frame.h"
#include "tools/recordings/text/AscLog.h"
#include "tools/recordings/text/CandumpLog.h"
#include "tools/recordings/text/LineSource.h"
#include "tools/recordings/text/ParsedLine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

enum class RecordingFormat { Unknown, Candump, Asc };

// The lines that are malformed for one cause.
struct MalformedLines {
    char const* cause; // plain words, static
    LineNumbers lines; // counted from 1
};

// Takes the format from the first line that fits one; lines before it are malformed unless they are blank. A file that
// cannot be read leaves a `problem` behind and has no (further) frames.
class RecordingReader {
public:
    enum class Next {
        Frame,
        End,        // or a problem
        Interrupted // by a signal or a request to stop, or after many lines without a frame; call again to go on
    };

    // Opens a file, pipe or device; "-" is standard input.
    explicit RecordingReader(std::string const& path);
    ~RecordingReader();
    RecordingReader(RecordingReader const&) = delete;
    RecordingReader& operator=(RecordingReader const&) = delete;

    // Moves to the next frame, over all lines that hold none.
    Next next(Frame& frame);

    // False: there is no such file, or it may not be read; `problem` tells.
    bool isOpen() const { return d_descriptor >= 0; }
    // One line such as "cannot open 'x.log': No such file or directory"; empty if all is well.
    std::string const& problem() const { return d_problem; }
    RecordingFormat format() const { return d_format; }

    // Lines so far, which includes the line of the current frame.
    std::size_t lines() const { return d_lines; }
    std::size_t count(LineKind kind) const { return d_counts[static_cast<std::size_t>(kind)]; }
    // By cause, in order of their first lines.
    std::vector<MalformedLines> const& malformed() const { return d_malformed; }

    // Progress: bytes taken so far, out of all; 0 where the size is not known beforehand, as with pipes.
    std::uint64_t bytesRead() const { return d_source.bytesRead(); }
    std::uint64_t totalBytes() const { return d_totalBytes; }

private:
    void inspect();
    void closeOwn();
    LineSource::Next checkContent();
    Next stop(LineSource::Next reason);
    ParsedLine parse(std::string_view line, Frame& frame);
    void addMalformed(char const* cause);

    bool d_isStandardInput;
    std::string d_name; // as it stands in messages
    int d_descriptor;   // negative: not open
    LineSource d_source;
    std::uint64_t d_totalBytes = 0;
    std::string d_problem;
    bool d_contentChecked = false;
    RecordingFormat d_format = RecordingFormat::Unknown;
    AscLog d_ascLog;
    std::size_t d_lines = 0;
    std::array<std::size_t, lineKinds> d_counts{};
    std::vector<MalformedLines> d_malformed;
};

} // namespace qztool
