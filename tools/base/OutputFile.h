// The file that a user names for results, or standard output.
#pragma once

#include <string>

namespace qztool {

// Owns the descriptor of a file.
class OutputFile {
public:
    // Creates the file, or empties it. An empty path and "-" are standard output.
    explicit OutputFile(std::string const& path);
    ~OutputFile() { close(); }
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    int descriptor() const { return d_descriptor; }
    // Closes the file; standard output stays open. False if what was written before may be lost.
    bool close();
    // errno of what failed, opening or closing; 0: neither.
    int error() const { return d_error; }

private:
    bool d_isStandardOutput;
    int d_descriptor;
    int d_error = 0;
};

// True if both name one file, which then must not be read and written at once. "-" is none.
bool isSameFile(std::string const& path, std::string const& other);

} // namespace qztool
