// Takes in what is written to standard error, for those who want to pass on only part of it.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace qztool {

// From its construction to its destruction, what the process writes to std::cerr is kept here.
class ErrorCapture {
public:
    ErrorCapture() : d_original(std::cerr.rdbuf(d_text.rdbuf())) {}
    ~ErrorCapture() { std::cerr.rdbuf(d_original); }
    ErrorCapture(ErrorCapture const&) = delete;
    ErrorCapture& operator=(ErrorCapture const&) = delete;

    std::string text() const { return d_text.str(); }

private:
    std::ostringstream d_text;
    std::streambuf* d_original;
};

} // namespace qztool
