// A pseudo terminal that a command writes its messages to.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

class Terminal {
public:
    Terminal() : d_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (d_master >= 0 && grantpt(d_master) == 0 && unlockpt(d_master) == 0)
            d_end = open(ptsname(d_master), O_RDWR | O_NOCTTY | O_CLOEXEC);
        fcntl(d_master, F_SETFL, O_NONBLOCK);
    }
    ~Terminal() {
        close(d_end);
        close(d_master);
    }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;

    // The command's end; negative if there are no pseudo terminals here.
    int end() const { return d_end; }

    // All that was written so far.
    std::string const& shown() {
        char chunk[1024];
        for (ssize_t bytes = 0; (bytes = read(d_master, chunk, sizeof chunk)) > 0;)
            d_shown.append(chunk, static_cast<std::size_t>(bytes));
        return d_shown;
    }

private:
    int d_master;
    int d_end = -1;
    std::string d_shown;
};
