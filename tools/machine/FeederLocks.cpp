// Record locks of POSIX, whose holders F_GETLK names. Others name none.
#include "tools/machine/FeederLocks.h"

#include "qzsignal/shm/KeyFile.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

namespace {

constexpr std::uint64_t entrance = 0;
constexpr std::uint64_t firstDemand = 1;
constexpr std::uint64_t firstName = std::uint64_t{1} << 32;
constexpr std::uint64_t firstWanted = std::uint64_t{1} << 62;

std::string lockPath() {
    return qzsignal::keyPath(".qzsignal-feeders");
}

// FNV-1a: the same in every build of the command. Two of a machine's names with one hash are not to be expected.
std::uint64_t hashOf(std::string const& name) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (char const c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return hash >> 3; // so that three such ranges fit into a file
}

std::uint64_t nameByte(std::string const& name) {
    return firstName + hashOf(name);
}

std::uint64_t wantedByte(std::string const& name) {
    return firstWanted + hashOf(name);
}

std::uint64_t demandByte(pid_t process) {
    return firstDemand + static_cast<std::uint32_t>(process);
}

struct flock64 section(std::uint64_t byte, std::uint64_t bytes, int type) {
    struct flock64 lock {};
    lock.l_type = static_cast<short>(type);
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off64_t>(byte);
    lock.l_len = static_cast<off64_t>(bytes);
    return lock;
}

} // namespace

FeederLocks::FeederLocks(Access access) : d_access(access) {
    open(access);
}

FeederLocks::~FeederLocks() {
    if (d_file == -1)
        return;
    if (d_access == Access::Hold)
        removeIfUnused();
    close(d_file);
}

// Made in two steps: where a folder is for all, some kernels open no file of another user if it might have to be made.
bool FeederLocks::open(Access access) {
    std::string const path = lockPath();
    int const flags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    int const mode = access == Access::Hold ? O_RDWR : O_RDONLY;
    d_file = ::open(path.c_str(), mode | flags);
    if (d_file == -1 && access == Access::Hold) {
        d_file = ::open(path.c_str(), mode | flags | O_CREAT | O_EXCL, 0666);
        if (d_file != -1)
            fchmod(d_file, 0666); // whatever the user's mask: it is for all users
        else
            d_file = ::open(path.c_str(), mode | flags); // another process was faster
    }
    struct stat status {};
    if (d_file != -1 && (fstat(d_file, &status) != 0 || !S_ISREG(status.st_mode))) {
        close(d_file);
        d_file = -1;
    }
    return d_file != -1;
}

// False if the file was removed with what was then the last lock.
bool FeederLocks::isCurrent() const {
    struct stat opened {};
    struct stat named {};
    return fstat(d_file, &opened) == 0 && lstat(lockPath().c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

bool FeederLocks::lock(std::uint64_t byte, int type) {
    struct flock64 lock = section(byte, 1, type);
    return fcntl(d_file, F_SETLK64, &lock) == 0;
}

std::optional<pid_t> FeederLocks::other(std::uint64_t byte, std::uint64_t bytes) const {
    struct flock64 lock = section(byte, bytes, d_access == Access::Hold ? F_WRLCK : F_RDLCK);
    if (d_file == -1 || fcntl(d_file, F_GETLK64, &lock) != 0 || lock.l_type == F_UNLCK)
        return std::nullopt;
    return lock.l_pid > 0 ? lock.l_pid : 0;
}

bool FeederLocks::enter() {
    constexpr timespec pause = {0, 5000000};
    for (int attempt = 0; d_file != -1 && attempt < 400; ++attempt) {
        if (lock(entrance, F_WRLCK)) {
            if (isCurrent())
                return true;
            close(d_file);
            open(d_access);
        } else {
            nanosleep(&pause, nullptr);
        }
    }
    return false;
}

void FeederLocks::leave() {
    lock(entrance, F_UNLCK);
}

bool FeederLocks::hold(std::string const& name) {
    return lock(nameByte(name), F_WRLCK);
}

std::optional<pid_t> FeederLocks::holder(std::string const& name) const {
    return other(nameByte(name), 1);
}

void FeederLocks::demand(pid_t process) {
    lock(demandByte(process), F_WRLCK);
}

void FeederLocks::endDemand(pid_t process) {
    lock(demandByte(process), F_UNLCK);
}

void FeederLocks::want(std::string const& name) {
    lock(wantedByte(name), F_WRLCK);
}

void FeederLocks::endWant(std::string const& name) {
    lock(wantedByte(name), F_UNLCK);
}

bool FeederLocks::isWanted(std::string const& name) const {
    return other(wantedByte(name), 1).has_value();
}

std::optional<pid_t> FeederLocks::demandOf(pid_t process) const {
    return other(demandByte(process), 1);
}

// A process that is about to take a lock in this file waits for byte 0, and then finds that the file is no longer
// there.
void FeederLocks::removeIfUnused() {
    if (lock(entrance, F_WRLCK) && isCurrent() && !other(entrance, 0))
        unlink(lockPath().c_str());
}

} // namespace qztool
