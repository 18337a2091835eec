// The streams of the command, and what became of its results.
#include "tools/base/Console.h"

#include "tools/base/ExitStatus.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace qztool {

Console::Console() : d_output(STDOUT_FILENO), d_results(&d_output), d_standardOutput(std::cout.rdbuf(&d_library)) {}

Console::~Console() {
    std::cout.rdbuf(d_standardOutput);
}

void Console::cannotWrite(std::string const& file, int error) {
    if (!d_lost)
        this->error("cannot write the results", file.empty() ? "" : " to " + file, ": ", std::strerror(error));
    d_lost = true;
}

int Console::finish(int status) {
    d_results.flush();
    int const error = d_output.error();
    if (error != 0 && error != EPIPE && error != EINTR) // a request to stop is no failure either
        cannotWrite("", error);
    return d_lost ? exitNotWritten : status;
}

} // namespace qztool
