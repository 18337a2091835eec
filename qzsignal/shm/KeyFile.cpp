// Key files, among whatever other users have put into /tmp.
#include "qzsignal/shm/KeyFile.h"

#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qzsignal {

namespace {

bool leadsUp(char const* name) {
    return std::strcmp(name, "..") == 0;
}

// A key file's name in the folder that contains it, which stays open for as long as the object lives. Each folder on
// the way is opened in the one before, so that a link that appears there meanwhile is not followed either.
class Location {
public:
    explicit Location(std::string const& instance) : d_path(keyPath(instance)), d_name(d_path.data()) {
        char* part = d_name + std::strlen(keyFolder) + 1;
        if (std::strchr(part, '/') != nullptr)
            enterFolders(part);
        d_exists = d_exists && !leadsUp(part);
    }
    ~Location() {
        if (d_folder >= 0)
            close(d_folder);
    }
    Location(Location const&) = delete;
    Location& operator=(Location const&) = delete;

    bool exists() const { return d_exists; } // otherwise `folder` and `name` mean nothing
    int folder() const { return d_folder; }
    char const* name() const { return d_name; }

private:
    // Moves `part` on to the last part of the path.
    void enterFolders(char*& part) {
        d_folder = open(keyFolder, O_PATH | O_DIRECTORY | O_CLOEXEC);
        while (char* const slash = std::strchr(part, '/')) {
            *slash = '\0';
            int const inner = leadsUp(part) || d_folder < 0 ? -1 : openFolder(part);
            if (d_folder >= 0)
                close(d_folder);
            d_folder = inner;
            part = slash + 1;
        }
        d_name = part;
        d_exists = d_folder >= 0;
    }
    int openFolder(char const* name) const {
        return openat(d_folder, *name != '\0' ? name : ".", O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }

    std::string d_path;
    char* d_name; // in `d_path`
    int d_folder = AT_FDCWD;
    bool d_exists = true;
};

// Unlike lstat, statx also succeeds on 32-bit targets if a time in it is past 2038. `name` may be empty: the folder.
bool look(int folder, char const* name, struct statx& status) {
    return statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH, STATX_BASIC_STATS, &status) == 0;
}

} // namespace

// Computed as the C library does, from a single look at the file: `ftok` follows links, and whether a path is one may
// change between that look and `ftok`. Handing `ftok` an open file instead, by its path in /proc, would need /proc.
key_t keyOfInstance(std::string const& instance) {
    Location const location(instance);
    struct statx status {};
    if (!location.exists() || !look(location.folder(), location.name(), status) || S_ISLNK(status.stx_mode))
        return -1;
    auto const key = std::uint32_t{'f'} << 24 | (status.stx_dev_minor & 0xff) << 16 |
                     static_cast<std::uint32_t>(status.stx_ino & 0xffff);
    return static_cast<key_t>(key);
}

// No link is followed, and neither a pipe nor a lease makes the caller wait. Only a regular file is emptied, and only
// if it has no other name, which may be outside /tmp.
void makeKeyFile(std::string const& instance) {
    Location const location(instance);
    if (!location.exists())
        return;
    int const file = openat(location.folder(), location.name(),
                            O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0)
        return;
    struct statx status {};
    if (look(file, "", status) && S_ISREG(status.stx_mode) && status.stx_nlink == 1 && status.stx_size != 0) {
        // Nothing depends on the file's being empty; an error here has no consequence.
        [[maybe_unused]] int const ignored = ftruncate(file, 0);
    }
    close(file);
}

} // namespace qzsignal
