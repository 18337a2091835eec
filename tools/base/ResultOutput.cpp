// Writing to a descriptor until all is written or nothing more can be.
#include "tools/base/ResultOutput.h"

#include "tools/base/StopRequest.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace qztool {

ResultOutput::int_type ResultOutput::overflow(int_type character) {
    if (!writeOut())
        return traits_type::eof();
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        sputc(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
}

bool ResultOutput::writeOut() {
    char const* next = pbase();
    while (d_error == 0 && next != pptr()) {
        ssize_t const written = write(d_descriptor, next, static_cast<std::size_t>(pptr() - next));
        if (written >= 0) {
            next += written;
        } else if (errno == EAGAIN) {
            pollfd output = {d_descriptor, POLLOUT, 0};
            poll(&output, 1, -1);
        } else if (errno != EINTR || stopRequested()) {
            d_error = errno; // a reader that does not read must not keep the command from being stopped
        }
    }
    setp(d_buffer.begin(), d_error == 0 ? d_buffer.end() : d_buffer.begin());
    return d_error == 0;
}

} // namespace qztool
