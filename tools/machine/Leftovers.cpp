// Removing, after looking again.
#include "tools/machine/Leftovers.h"

#include "tools/machine/SharedSignals.h"

#include "qzsignal/shm/KeyFile.h"

#include <cerrno>
#include <optional>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

bool isOrphan(Segment const& segment, ProcessTable& processes) {
    return segment.attached == 0 && !processes.isAlive(segment.creator, segment.made);
}

Removal removeSegment(Segment const& segment) {
    std::optional<Segment> const now = segmentWith(segment.id);
    if (!now && errno != EACCES)
        return Removal::Done; // another process was faster
    if (now && (now->attached != 0 || now->key != segment.key))
        return Removal::Attached;
    return shmctl(segment.id, IPC_RMID, nullptr) == 0 || errno == EINVAL || errno == EIDRM ? Removal::Done
                                                                                           : Removal::Refused;
}

bool removeKeyFile(std::string const& instance, key_t key) {
    std::string const path = qzsignal::keyPath(instance);
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size != 0 || status.st_nlink != 1)
        return true;
    if (keyOf(instance) != key || shmget(key, 0, 0) != -1 || errno != ENOENT)
        return true;
    return unlink(path.c_str()) == 0 || errno == ENOENT;
}

} // namespace qztool
