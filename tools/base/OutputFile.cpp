// Opening and closing.
#include "tools/base/OutputFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

OutputFile::OutputFile(std::string const& path)
    : d_isStandardOutput(path.empty() || path == "-"),
      d_descriptor(d_isStandardOutput ? STDOUT_FILENO
                                      : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (d_descriptor < 0)
        d_error = errno;
}

bool OutputFile::close() {
    if (d_isStandardOutput || d_descriptor < 0)
        return true;
    // Some file systems report only now that the disk is full.
    if (::close(d_descriptor) != 0 && d_error == 0)
        d_error = errno;
    d_descriptor = -1;
    return d_error == 0;
}

bool isSameFile(std::string const& path, std::string const& other) {
    struct stat first {};
    struct stat second {};
    return path != "-" && other != "-" && stat(path.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
           S_ISREG(first.st_mode) && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

} // namespace qztool
