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

// Leaves an empty file at the path of an instance. /tmp belongs to everybody, so whatever else lies there under the
// name is left alone, and nothing outside /tmp is touched, wherever the name or links on the way lead: there is no file
// then. That it could not be made shows in its key.
void makeKeyFile(std::string instance);

} // namespace qzsignal
