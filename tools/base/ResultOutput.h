// Where results go: a descriptor, with what became of them.
#pragma once

#include <array>
#include <streambuf>

namespace qztool {

// Buffers what is written, and keeps the cause of the first failure, which streams do not report. From then on it
// takes nothing more, so that the stream above it fails at once.
class ResultOutput : public std::streambuf {
public:
    explicit ResultOutput(int descriptor) : d_descriptor(descriptor) { setp(d_buffer.begin(), d_buffer.end()); }
    ~ResultOutput() override { writeOut(); }
    ResultOutput(ResultOutput const&) = delete;
    ResultOutput& operator=(ResultOutput const&) = delete;

    // errno of the write that failed; 0 if none did.
    int error() const { return d_error; }

protected:
    int_type overflow(int_type character) override;
    int sync() override { return writeOut() ? 0 : -1; }

private:
    bool writeOut();

    int d_descriptor;
    int d_error = 0;
    std::array<char, 16384> d_buffer;
};

} // namespace qztool
