// A file that part of a recording is written to.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace qztool {

// Buffers what is written. The first failure is kept; from then on, nothing more is written.
class CutFile {
public:
    // Creates the file, or empties it.
    explicit CutFile(std::string const& path);
    ~CutFile() { close(); }
    CutFile(CutFile const&) = delete;
    CutFile& operator=(CutFile const&) = delete;

    void write(std::string_view text);
    // What was written so far can be read from now on.
    void flush();
    void close();

    // errno of the first failure; 0 if there was none.
    int error() const { return d_error; }

private:
    std::FILE* d_file;
    int d_error = 0;
};

} // namespace qztool
