// The arguments about a recording, the same for all commands that read one.
#pragma once

#include "tools/recordings/RecordingReader.h"

#include <string>

namespace CLI {
class App;
}

namespace qztool {

struct RecordingOptions {
    std::string path;
    bool absolute = false; // times since 1970

    // For RecordingReader.
    FrameTimes times() const { return absolute ? FrameTimes::Since1970 : FrameTimes::AsRecorded; }
};

// Adds the argument TRACE, after those that were added before, and --absolute. `standardInput`: what is special about
// reading from there, such as "which is played as it comes"; empty: nothing.
void addRecordingOptions(CLI::App& parser, RecordingOptions& options, std::string const& standardInput = "");

} // namespace qztool
