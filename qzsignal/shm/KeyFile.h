// Where a shared signal's key comes from; the same for those who make segments and those who look for them.
#pragma once

#include <string>
#include <sys/ipc.h>

namespace qzsignal {

inline std::string keyPath(std::string const& instance) {
    return "/tmp/" + instance;
}

// Key of the file at `path`; -1 if there is none.
inline key_t keyOfFile(std::string const& path) {
    return ftok(path.c_str(), 'f');
}

} // namespace qzsignal
