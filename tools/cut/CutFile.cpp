// Failures.
#include "tools/cut/CutFile.h"

#include <cerrno>
#include <utility>

namespace qztool {

CutFile::CutFile(std::string const& path) : d_file(std::fopen(path.c_str(), "we")) {
    if (d_file == nullptr)
        d_error = errno;
}

void CutFile::write(std::string_view text) {
    if (d_error == 0 && std::fwrite(text.data(), 1, text.size(), d_file) != text.size())
        d_error = errno;
}

void CutFile::flush() {
    if (d_error == 0 && std::fflush(d_file) != 0)
        d_error = errno;
}

void CutFile::close() {
    std::FILE* const file = std::exchange(d_file, nullptr);
    if (file != nullptr && std::fclose(file) != 0 && d_error == 0)
        d_error = errno;
}

} // namespace qztool
