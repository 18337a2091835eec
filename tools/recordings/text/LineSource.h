// Lines of an input, as soon as they are there.
#pragma once

#include "tools/recordings/InputBuffer.h"

#include <cstddef>
#include <string_view>

namespace qztool {

// Never waits for more than one line, which stays in the input's buffer until the next call.
class LineSource {
public:
    enum class Next {
        Line,
        TooLong,     // a line above the limit, which is skipped
        End,         // for good
        Interrupted, // by a signal, or by a request to stop; nothing is lost, call again to go on
        Failed       // the input's source says why
    };

    static constexpr std::size_t longestLine = std::size_t{64} * 1024; // without line end

    // The input must outlive this object, which alone reads from it.
    explicit LineSource(InputBuffer& input) : d_input(input) {}

    // Hands out the next line without its "\n" or "\r\n"; the last one may lack either. It is valid until the next
    // call.
    Next next(std::string_view& line);

private:
    Next endOfInput(std::string_view& line);
    Next handOut(std::string_view text, std::string_view& line);

    InputBuffer& d_input;
    std::size_t d_handedOut = 0; // bytes of the current line, consumed by the next call
    std::size_t d_searched = 0;  // no line feed in the first bytes of the input up to here
    bool d_skipping = false;     // inside a line above the limit, whose beginning is gone
};

} // namespace qztool
