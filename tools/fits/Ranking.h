// Which definition files fit a recording.
#pragma once

#include "tools/check/MessageIndex.h"
#include "tools/drive/FrameTally.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qztool {

// How well a file fits: shares, from 0 to 1, of the recording's data frames and of its identifiers (of a channel) that
// the file defines.
struct Fit {
    std::string file;
    double frames = 0.0;
    double identifiers = 0.0;
    std::size_t messages = 0; // that the file defines
};

// A file that cannot be ranked, and why, in one line.
struct Unranked {
    std::string file;
    std::string cause;
};

// Definition files that are compared with the same recording. Keeps of each what its frames look like, and not the
// rest.
class Ranking {
public:
    // Reads a definition file of any format, or all files below a folder.
    void add(std::string const& path);

    // The files that could be read, the best one first: by frames, then by identifiers, then the file with fewer
    // messages, as it has less that does not fit, then by name.
    std::vector<Fit> rank(std::vector<TalliedFrames> const& recording) const;
    std::vector<Unranked> const& unranked() const { return d_unranked; }
    std::size_t size() const { return d_files.size(); }

private:
    struct File {
        std::string path;
        std::size_t messages;
        MessageIndex index;
    };

    void addFile(std::string const& path);
    void addFolder(std::string const& path);

    std::vector<File> d_files;
    std::vector<Unranked> d_unranked;
};

} // namespace qztool
