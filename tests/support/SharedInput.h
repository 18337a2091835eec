// A predefined input in shared memory, for one test at a time on the whole machine.
#pragma once

#include "qzsignal/input/InputSignalExt.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>

// Holds a file's lock from construction to destruction; the file is created if it is not there.
class FileLock {
public:
    explicit FileLock(std::string const& path) {
        do {
            if (d_file != -1)
                close(d_file);
            d_file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
            if (d_file == -1 || flock(d_file, LOCK_EX) == -1)
                throw std::runtime_error("cannot lock " + path);
        } while (!is(path));
    }
    ~FileLock() { close(d_file); }
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;

private:
    // False if the holder before has removed the file while this process was waiting for its lock.
    bool is(std::string const& path) const {
        struct stat locked {};
        struct stat named {};
        return fstat(d_file, &locked) == 0 && stat(path.c_str(), &named) == 0 && locked.st_ino == named.st_ino &&
               locked.st_dev == named.st_dev;
    }

    int d_file = -1;
};

// The name of an input cannot be a fresh one, so the test waits until no other test uses it. Then the key file exists
// and the segment does not. Both are removed at the end, before the lock is released. A test that uses several inputs
// locks them in order of their names.
class SharedInput : private FileLock, public SharedName {
public:
    explicit SharedInput(std::string const& input) : FileLock("/tmp/" + input), SharedName(Exactly::Name, input) {
        int const id = segmentId();
        if (id == -1)
            return;
        shmid_ds state{};
        if (shmctl(id, IPC_STAT, &state) == 0 && state.shm_nattch != 0)
            throw std::runtime_error(input + " is in use on this machine");
        shmctl(id, IPC_RMID, nullptr); // of a test that was killed
    }
};

// An input whose value is taken as it arrives.
inline inputSignalDef_t inputDefinition(std::string const& instance) {
    inputSignalDef_t definition;
    static_cast<baseSignalDef_t&>(definition) = plainDefinition(instance, 64);
    definition.startbit = 7;
    definition.endian = true;
    return definition;
}
