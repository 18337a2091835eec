// Processes of this machine, by their numbers, which are used again and again.
#pragma once

#include <ctime>
#include <string>
#include <sys/types.h>
#include <unordered_map>

namespace qztool {

// The name of a process as its user knows it: the program's, and of this command the subcommand, too. Empty if there
// is no such process or it does not say.
std::string commandOf(pid_t process);

// Such as "4711 (qzsignal replay)".
std::string processText(pid_t process);

// Answers for many segments, most of which have the same few creators. What it found stays as long as the object.
class ProcessTable {
public:
    ProcessTable();

    // True if the process that made something at this time (in seconds) still runs. A number that was used again since
    // is recognised: that process started later. If the clock was set in between, it may not be.
    bool isAlive(pid_t process, std::time_t made);
    // As `commandOf`.
    std::string const& command(pid_t process);

private:
    struct Entry {
        bool exists = false;
        double started = 0; // seconds since 1970; 0: not known
        bool named = false;
        std::string command;
    };

    Entry& entry(pid_t process);

    double d_boot; // when the machine was started, by the clock as it is set now
    std::unordered_map<pid_t, Entry> d_entries;
};

} // namespace qztool
