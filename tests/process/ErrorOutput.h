// The standard error of forked processes, for the test to look at.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

// What processes print to standard error, in a file without a name.
class ErrorOutput {
public:
    ErrorOutput() : d_file(std::tmpfile()) { fcntl(fileno(d_file), F_SETFL, O_APPEND); }
    ~ErrorOutput() { std::fclose(d_file); }
    ErrorOutput(ErrorOutput const&) = delete;
    ErrorOutput& operator=(ErrorOutput const&) = delete;

    // Makes this process, a forked one, print there.
    void take() const { dup2(fileno(d_file), STDERR_FILENO); }

    std::string text() const {
        std::string all;
        char part[4096];
        off_t at = 0;
        for (ssize_t got = 0; (got = pread(fileno(d_file), part, sizeof part, at)) > 0; at += got)
            all.append(part, static_cast<std::size_t>(got));
        return all;
    }

private:
    std::FILE* d_file;
};

// Removes a line from a text wherever it is; how often it was there.
inline std::uint32_t removeLines(std::string& text, std::string const& line) {
    std::uint32_t found = 0;
    for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at), ++found)
        text.erase(at, line.size());
    return found;
}
