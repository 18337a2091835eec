// Another user of the machine, for those tests that are run by root.
#pragma once

#include "qzsignal/signal/BaseSignal.h"

#include <string>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

constexpr uid_t otherUser = 65534;

// Runs `work` in a process of that user. Returns what it printed to standard error.
template <typename Work>
std::string errorsAsOtherUser(Work work) {
    int ends[2];
    if (pipe(ends) != 0)
        return "no pipe";
    pid_t const child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        if (setuid(otherUser) == 0) {
            BaseSignal::instances.clear(); // the parent's signals are not this process's
            work();
        }
        _exit(0);
    }
    close(ends[1]);
    std::string all;
    char text[256];
    for (ssize_t got = 0; (got = read(ends[0], text, sizeof text)) > 0;)
        all.append(text, static_cast<std::size_t>(got));
    waitpid(child, nullptr, 0);
    close(ends[0]);
    return all;
}
