// Which process feeds which signals, kept by the kernel.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace qztool {

// Locks on bytes of one file that all feeders share: each feeder holds a byte for each of its names. The kernel knows
// which process holds a lock, and releases it when the process ends, however it does. So there is nothing to be cleaned
// up after a kill, and no number of a process that could have been used again.
//
//     byte 0                   held while a process decides what it may feed, or removes what others left
//     byte 1 + process         held by one that takes the signals of that process over
//     byte 2^32 + hash(name)   held by the feeder of that name
//     byte 2^62 + hash(name)   held by one that takes that name over
//
// The file is in the folder of key files, and is removed with the last lock. Closing it releases all locks of the
// process, so a process opens it once at a time.
class FeederLocks {
public:
    enum class Access {
        Hold, // to hold locks oneself; the file is made if need be
        Look  // to see who holds them
    };

    explicit FeederLocks(Access access);
    // Releases all locks, and removes the file if no other process holds one.
    ~FeederLocks();
    FeederLocks(FeederLocks const&) = delete;
    FeederLocks& operator=(FeederLocks const&) = delete;

    // False: the file cannot be had (or there is none to look at), so that nothing is held or seen.
    bool isOpen() const { return d_file != -1; }

    // Takes byte 0, waiting for other processes for up to two seconds. False if one of them is still at it.
    bool enter();
    void leave();

    // Takes the lock of a name; false if another process holds it.
    bool hold(std::string const& name);
    // The process that holds the lock of a name; 0: one that cannot be seen from here. Nothing: no other process does.
    std::optional<pid_t> holder(std::string const& name) const;

    // Asks a process to leave signals that are taken over, and stops asking.
    void demand(pid_t process);
    void endDemand(pid_t process);
    // The same of a signal.
    void want(std::string const& name);
    void endWant(std::string const& name);
    // True if another process takes the signal over.
    bool isWanted(std::string const& name) const;
    // The process that takes over the signals of this one.
    std::optional<pid_t> demandOf(pid_t process) const;

private:
    bool open(Access access);
    bool isCurrent() const;
    bool lock(std::uint64_t byte, int type);
    std::optional<pid_t> other(std::uint64_t byte, std::uint64_t bytes) const;
    void removeIfUnused();

    Access d_access;
    int d_file = -1;
};

} // namespace qztool
