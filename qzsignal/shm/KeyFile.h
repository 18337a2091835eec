// The key file of a shared signal and the key it gives; the same for definers and for those that look a signal up.
#pragma once

#include <string>
#include <sys/ipc.h>

namespace qzsignal {

constexpr char keyFolder[] = "/tmp";

inline std::string keyPath(std::string const& instance) {
    return std::string(keyFolder) + "/" + instance;
}

// The key that `ftok(path, 'f')` computes for the key file of an instance; -1 if there is no such file. A link is no
// key file, and neither links nor ".." are followed on the way to it.
key_t keyOfInstance(std::string const& instance);

// Leaves an empty key file for an instance, if possible; whether there is one shows in its key. /tmp belongs to every
// user: whatever else has the name is left alone, and no file outside /tmp is made or changed, wherever the name and
// links on the way lead.
void makeKeyFile(std::string const& instance);

} // namespace qzsignal
