// What the lines of a recording are in a part of it.
#pragma once

#include "tools/recordings/RecordingReader.h"

#include <string>

namespace qztool {

// Parts of candump, ASC and TRC recordings consist of the recordings' own lines, below their header, as far as these
// mean the same without the lines before them; times that do not are written as those that they add up to. Parts of
// other recordings are candump text. To be asked from the first frame on.
class CutText {
public:
    // The recording must outlive it. `times` is what it was opened with.
    CutText(RecordingReader const& recording, FrameTimes times) : d_recording(recording), d_times(times) {}

    // Of file names, such as ".log".
    char const* suffix() const;
    // What comes before the first frame, and after the last.
    std::string header() const;
    std::string footer() const;
    // A line that readers skip. `text` is one line.
    std::string comment(std::string const& text) const;
    // Appends the current frame, as a line with its end. False: the format cannot hold it.
    bool append(Frame const& frame, std::string& text) const;

private:
    struct Format;
    static Format const formats[];

    Format const& format() const;
    void appendWithTime(Frame const& frame, std::string& text) const;

    RecordingReader const& d_recording;
    FrameTimes d_times;
};

} // namespace qztool
