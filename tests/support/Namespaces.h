// Surroundings for a test alone: a /tmp or a kernel table of segments in which it can break things.
#pragma once

#include <exception>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

// Puts this process into a namespace of its own, where that is permitted, until the end. It comes back to where it was.
class Namespace {
public:
    Namespace(Namespace const&) = delete;
    Namespace& operator=(Namespace const&) = delete;

protected:
    Namespace(char const* kind, int flag)
        : d_folder(open(".", O_PATH | O_CLOEXEC)),
          d_before(open(kind, O_RDONLY | O_CLOEXEC)),
          d_entered(d_before >= 0 && unshare(flag) == 0) {}
    ~Namespace() {
        if (d_entered && (setns(d_before, 0) != 0 || fchdir(d_folder) != 0))
            std::terminate(); // what comes next would be no test of anything
        close(d_before);
        close(d_folder);
    }
    bool entered() const { return d_entered; }

private:
    int d_folder;
    int d_before;
    bool d_entered;
};

// A file system in memory in place of /tmp, with options as for mount. What it hides is back in the end.
class PrivateTmp : private Namespace {
public:
    explicit PrivateTmp(std::string const& options) : Namespace("/proc/self/ns/mnt", CLONE_NEWNS) {
        d_there = entered() && mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  mount("none", "/tmp", "tmpfs", 0, ("mode=1777," + options).c_str()) == 0;
    }

    bool isThere() const { return d_there; } // false: not permitted here
    bool makeReadOnly() const { return mount("none", "/tmp", "none", MS_REMOUNT | MS_RDONLY, nullptr) == 0; }

private:
    bool d_there;
};

// A table of segments of one's own, with room for no more than these.
class PrivateSegments : private Namespace {
public:
    explicit PrivateSegments(int limit) : Namespace("/proc/self/ns/ipc", CLONE_NEWIPC) {
        if (entered())
            d_there = static_cast<bool>(std::ofstream("/proc/sys/kernel/shmmni") << limit << std::flush);
    }

    bool isThere() const { return d_there; } // false: not permitted here

private:
    bool d_there = false;
};
