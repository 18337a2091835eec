// A second process for a test: forked, bounded in time, and always reaped.
#pragma once

#include "qzsignal/signal/BaseSignal.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

// Longer than anything takes that is not stuck, on a busy machine or an emulated one.
constexpr int patience = 60; // seconds

inline void sleepMicroseconds(long time) {
    timespec const pause = {time / 1000000, time % 1000000 * 1000};
    nanosleep(&pause, nullptr);
}

inline double secondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Polls until the condition holds; false if it never did.
template <typename Condition>
bool waitUntil(Condition condition) {
    for (double const end = secondsNow() + patience; !condition(); sleepMicroseconds(50))
        if (secondsNow() > end)
            return false;
    return true;
}

// Runs `work` in a forked process, which then ends without running destructors of its own or the parent's: what is to
// be destroyed there, `work` destroys. The process dies with the parent, with this object, or when its time is up.
class Process {
public:
    template <typename Work>
    explicit Process(Work work) : d_id(fork()) {
        if (d_id != 0)
            return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(4 * patience);
        BaseSignal::instances.clear(); // the parent's signals are not this process's
        work();
        _exit(EXIT_SUCCESS);
    }
    ~Process() { kill(); }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    pid_t id() const { return d_id; }

    // Ends the process where it stands.
    void kill() {
        if (d_id <= 0)
            return;
        ::kill(d_id, SIGKILL);
        waitpid(d_id, nullptr, 0);
        d_id = -1;
    }

    // Waits for the end of `work`; false if it did not end in time, or the process died of something else.
    bool finished() {
        int status = 0;
        if (d_id <= 0 || !waitUntil([&] { return waitpid(d_id, &status, WNOHANG) == d_id; }))
            return false;
        d_id = -1;
        return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    }

    // Waits for the process to be killed, by itself or by others.
    bool died() {
        int status = 0;
        if (d_id <= 0 || !waitUntil([&] { return waitpid(d_id, &status, WNOHANG) == d_id; }))
            return false;
        d_id = -1;
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }

private:
    pid_t d_id;
};

// Sends what this process, a forked one, prints to standard output nowhere: lines on busy locks come by the thousand.
inline void silenceStandardOutput() {
    int const nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}
