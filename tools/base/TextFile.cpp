// Reading a file in one go.
#include "tools/base/TextFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace qztool {

std::string readTextFile(std::string const& path, std::string& text) {
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1)
        return std::strerror(errno);
    char chunk[65536];
    ssize_t bytes = 0;
    while ((bytes = read(file, chunk, sizeof chunk)) > 0 || (bytes == -1 && errno == EINTR))
        if (bytes > 0)
            text.append(chunk, static_cast<std::size_t>(bytes));
    std::string problem = bytes == -1 ? std::strerror(errno) : "";
    close(file);
    return problem;
}

} // namespace qztool
