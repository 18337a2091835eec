// Lines from a file descriptor, as soon as they are there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qztool {

// Reads in big chunks, but takes what a pipe or a live bus has to offer and never waits for more than one line. Does
// not own the descriptor, which must be in blocking mode. The buffer's size is fixed, whatever the length of the lines.
class LineSource {
public:
    enum class Next {
        Line,
        TooLong,     // a line above the limit, which is skipped
        End,         // for good
        Interrupted, // by a signal, or by a request to stop; nothing is lost, call again to go on
        Failed       // see `error`
    };

    static constexpr std::size_t longestLine = std::size_t{64} * 1024; // without line end

    explicit LineSource(int descriptor) : d_descriptor(descriptor), d_buffer(bufferSize) {}

    // Hands out the next line without its "\n" or "\r\n"; the last one may lack either. It is valid until the next
    // call.
    Next next(std::string_view& line);
    // Waits until there are bytes that are not handed out, which stay so; Line if there are. Valid until the next call.
    Next peek(std::string_view& bytes);
    // Error number of the reading that failed.
    int error() const { return d_error; }
    // Bytes taken from the descriptor.
    std::uint64_t bytesRead() const { return d_bytesRead; }

private:
    enum class Fill { Done, End, Interrupted, Failed };

    static constexpr std::size_t bufferSize = 4 * longestLine;

    Fill fill();
    Next endOfInput(std::string_view& line);
    Next handOut(std::size_t length, std::string_view& line);
    void skipBuffered();
    static Next resultOf(Fill fill);

    int d_descriptor;
    int d_error = 0;
    std::uint64_t d_bytesRead = 0;
    std::vector<char> d_buffer;
    std::size_t d_begin = 0;    // of the bytes not handed out
    std::size_t d_searched = 0; // no line feed between d_begin and here
    std::size_t d_end = 0;      // of the bytes read
    bool d_skipping = false;    // inside a line above the limit, whose beginning is gone
};

} // namespace qztool
