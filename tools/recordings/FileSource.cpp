// Reading from a descriptor.
#include "tools/recordings/FileSource.h"

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace qztool {

ByteSource::Read FileSource::read(char* bytes, std::size_t size, std::size_t& count) {
    if (!d_stop.awaitInput(d_descriptor))
        return Read::Interrupted;
    ssize_t const result = ::read(d_descriptor, bytes, size);
    if (result < 0) {
        d_error = errno;
        return d_error == EINTR ? Read::Interrupted : Read::Failed;
    }
    if (result == 0)
        return Read::End;
    count = static_cast<std::size_t>(result);
    d_bytesRead += count;
    return Read::Bytes;
}

std::string FileSource::error() const {
    return std::generic_category().message(d_error);
}

} // namespace qztool
