// Instance names that no other test uses, and what is to be cleaned up after them.
#pragma once

#include <string>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

// A fresh instance name for a shared signal, which definition files accept as a message name as well. Removes segment
// and key file in the end, whatever the test left of them.
class SharedName {
public:
    explicit SharedName(std::string const& stem = "signal") {
        static int count = 0;
        d_name = "qzsignal_test_" + std::to_string(getpid()) + "_" + std::to_string(count++) + "_" + stem;
    }
    ~SharedName() {
        if (getpid() != d_creator)
            return;
        int const id = segmentId();
        if (id != -1)
            shmctl(id, IPC_RMID, nullptr);
        unlink(path().c_str());
    }
    SharedName(SharedName const&) = delete;
    SharedName& operator=(SharedName const&) = delete;

    std::string const& name() const { return d_name; }
    char const* c_str() const { return d_name.c_str(); }
    std::string path() const { return "/tmp/" + d_name; }

    bool keyFileExists() const { return access(path().c_str(), F_OK) == 0; }
    key_t key() const { return ftok(path().c_str(), 102); }
    // Id of the segment, -1 if there is none.
    int segmentId() const {
        key_t const segmentKey = key();
        return segmentKey != -1 ? shmget(segmentKey, 0, 0) : -1;
    }

protected:
    // A name that others may use as well; the derived class sees to it that they do not meanwhile.
    enum class Exactly { Name };
    SharedName(Exactly, std::string const& name) : d_name(name) {}

private:
    std::string d_name;
    pid_t d_creator = getpid();
};
