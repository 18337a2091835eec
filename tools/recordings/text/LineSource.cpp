// Line ends.
#include "tools/recordings/text/LineSource.h"

#include <cstring>
#include <utility>

namespace qztool {

LineSource::Next LineSource::next(std::string_view& line) {
    d_input.consume(std::exchange(d_handedOut, 0));
    for (;;) {
        std::string_view const bytes = d_input.bytes();
        if (void const* const found = std::memchr(bytes.data() + d_searched, '\n', bytes.size() - d_searched)) {
            auto const length = static_cast<std::size_t>(static_cast<char const*>(found) - bytes.data());
            d_handedOut = length + 1;
            d_searched = 0;
            return handOut(bytes.substr(0, length), line);
        }
        d_searched = bytes.size();
        // One byte more than the limit may be the "\r" of a line end.
        if (d_skipping || bytes.size() > longestLine + 1) {
            d_skipping = true;
            d_input.consume(bytes.size());
            d_searched = 0;
        }
        switch (d_input.fill()) {
        case InputBuffer::Read::Bytes:
            break;
        case InputBuffer::Read::End:
            return endOfInput(line);
        case InputBuffer::Read::Interrupted:
            return Next::Interrupted;
        case InputBuffer::Read::Failed:
            return Next::Failed;
        }
    }
}

// The last line may lack its line end.
LineSource::Next LineSource::endOfInput(std::string_view& line) {
    std::string_view const bytes = d_input.bytes();
    if (bytes.empty() && !d_skipping)
        return Next::End;
    d_handedOut = bytes.size();
    d_searched = 0;
    return handOut(bytes, line);
}

LineSource::Next LineSource::handOut(std::string_view text, std::string_view& line) {
    line = text;
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    bool const tooLong = std::exchange(d_skipping, false) || line.size() > longestLine;
    return tooLong ? Next::TooLong : Next::Line;
}

} // namespace qztool
