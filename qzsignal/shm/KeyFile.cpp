// Making of key files, among whatever others have put into /tmp.
#include "qzsignal/shm/KeyFile.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qzsignal {

namespace {

// A folder inside another one; negative if there is none. ".." and links may lead anywhere, so neither is a way.
int folderIn(int folder, char const* name) {
    if (std::strcmp(name, "..") == 0)
        return -1;
    return openat(folder, *name != '\0' ? name : ".", O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// No link is followed, no pipe and no lease makes us wait, and nothing but a regular file is emptied; nor is one that
// has another name as well, which may be outside /tmp.
void makeEmptyFile(int folder, char const* name) {
    int const file = openat(folder, name, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0)
        return;
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_size != 0) {
        // Nothing depends on the file's being empty; an error here has no consequence.
        [[maybe_unused]] int const ignored = ftruncate(file, 0);
    }
    close(file);
}

} // namespace

void makeKeyFile(std::string instance) {
    if (instance.find('/') == std::string::npos)
        return makeEmptyFile(AT_FDCWD, keyPath(instance).c_str()); // there is no way on which to be led astray
    int folder = open("/tmp", O_PATH | O_DIRECTORY | O_CLOEXEC);
    char* name = instance.data();
    while (folder >= 0) {
        char* const slash = std::strchr(name, '/');
        if (slash == nullptr) {
            makeEmptyFile(folder, name);
            close(folder);
            return;
        }
        *slash = '\0';
        int const inner = folderIn(folder, name);
        close(folder);
        folder = inner;
        name = slash + 1;
    }
}

} // namespace qzsignal
