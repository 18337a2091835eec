// Reads the frames of a recording, whatever its format.
#pragma once

#include "tools/base/Stop.h"
#include "tools/recordings/FileSource.h"
#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/InputBuffer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qztool {

class TextReader;
struct RecordingFormat;

enum class FrameTimes {
    AsRecorded, // since 1970 or since the start of the recording
    Since1970   // as far as the recording says when it began
};

// Opens a recording, finds its format out when the first bytes are there, and hands its frames out. One that cannot be
// read leaves a problem in the findings and has no (further) frames.
class RecordingReader {
public:
    using Next = FrameReader::Next;

    // Opens a file, pipe or device; "-" is standard input. `stop` must outlive the reader.
    RecordingReader(std::string const& path, Stop& stop, FrameTimes times = FrameTimes::AsRecorded);
    ~RecordingReader();
    RecordingReader(RecordingReader const&) = delete;
    RecordingReader& operator=(RecordingReader const&) = delete;

    // Moves to the next frame of any kind, over all that is none.
    Next next(Frame& frame);

    // False: there is no such file, or it may not be read; the problem says so.
    bool isOpen() const { return d_descriptor >= 0; }
    // One line such as "cannot open 'x.log': No such file or directory"; empty if all is well.
    std::string const& problem() const { return d_findings.problem(); }
    Findings const& findings() const { return d_findings; }
    // From now on. The listener must outlive the reader, or be null.
    void setListener(FindingsListener* listener) { d_findings.setListener(listener); }

    // Such as "ASC"; empty as long as it is not known.
    char const* formatName() const;
    // Lines or objects so far, which includes that of the current frame, and what is counted: "line", "object", ...
    std::uint64_t place() const { return d_reader ? d_reader->place() : 0; }
    char const* placeKind() const { return d_reader ? d_reader->placeKind() : "line"; }

    // In recordings of lines, the line of the current frame, without its end; else empty. Valid until the next `next`.
    std::string_view line() const;
    // False if the time in that line depends on the lines before it.
    bool linesHaveTheirTimes() const;
    // The lines that say how those of frames are to be read, with their comments, each with its end, as they were last;
    // empty if there are none. `headers` counts how often such lines began: more than once where recordings were
    // joined.
    std::string const& header() const;
    std::size_t headers() const;

    // As FrameReader's.
    std::optional<std::uint64_t> startTime() const { return d_reader ? d_reader->startTime() : std::nullopt; }

    // Progress: bytes taken so far, out of all; 0 where the size is not known beforehand, as with pipes.
    std::uint64_t bytesRead() const { return d_file.bytesRead(); }
    std::uint64_t totalBytes() const { return d_totalBytes; }
    // True if it may come as it is made, such as through a pipe.
    bool isLive() const { return d_totalBytes == 0; }

private:
    using Read = InputBuffer::Read;

    void inspect();
    void closeOwn();
    Next readNext(Frame& frame);
    Next openFormat();
    Read readBeginning(InputBuffer& input);
    bool decompress();
    Next failForeign(char const* cause);
    InputBuffer& content() { return d_content ? *d_content : d_input; }

    bool d_isStandardInput;
    FrameTimes d_times;
    std::string d_name; // as it is in messages
    int d_descriptor;   // negative: not open
    std::uint64_t d_totalBytes = 0;
    Findings d_findings;
    FileSource d_file;
    InputBuffer d_input;
    // Null: the file is not compressed.
    std::unique_ptr<ByteSource> d_decompressed;
    std::unique_ptr<InputBuffer> d_content;
    RecordingFormat const* d_format = nullptr; // of formats without lines
    TextReader const* d_text = nullptr;        // of the others
    std::unique_ptr<FrameReader> d_reader;     // null: the beginning has not been read yet
};

} // namespace qztool
