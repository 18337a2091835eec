// Looks at /proc.
#include "tools/machine/Processes.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace qztool {

namespace {

std::string contentOf(pid_t process, char const* file) {
    std::string const path = "/proc/" + std::to_string(process) + "/" + file;
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor == -1)
        return "";
    char text[4096]; // more than is needed of any of them
    ssize_t const size = read(descriptor, text, sizeof text);
    close(descriptor);
    return std::string(text, size > 0 ? static_cast<std::size_t>(size) : 0);
}

double seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Seconds from the start of the machine to that of the process; negative if it is not known.
double startOf(pid_t process) {
    std::string const text = contentOf(process, "stat");
    // The second field is the program's name in parentheses, which may hold anything.
    std::size_t next = text.rfind(')');
    constexpr int startField = 22;
    for (int field = 2; field < startField && next != std::string::npos; ++field)
        next = text.find(' ', next + 1);
    unsigned long long ticks = 0;
    if (next == std::string::npos ||
        std::from_chars(text.data() + next + 1, text.data() + text.size(), ticks).ec != std::errc())
        return -1;
    return static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::string lastPart(std::string const& path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace

std::string commandOf(pid_t process) {
    std::string const arguments = contentOf(process, "cmdline"); // each with a zero after it
    if (arguments.empty()) {
        std::string const name = contentOf(process, "comm");
        return name.substr(0, name.find('\n'));
    }
    std::size_t const end = arguments.find('\0');
    std::string name = lastPart(arguments.substr(0, end));
    std::size_t const second = end + 1;
    if (name == "qzsignal" && second < arguments.size() && arguments[second] != '-')
        name += std::string(" ") + (arguments.c_str() + second);
    return name;
}

std::string processText(pid_t process) {
    if (process <= 0)
        return "a process of another container";
    std::string const command = commandOf(process);
    return std::to_string(process) + (command.empty() ? "" : " (" + command + ")");
}

ProcessTable::ProcessTable() : d_boot(seconds(CLOCK_REALTIME) - seconds(CLOCK_BOOTTIME)) {}

ProcessTable::Entry& ProcessTable::entry(pid_t process) {
    auto const [place, isNew] = d_entries.try_emplace(process);
    Entry& entry = place->second;
    if (isNew && process > 0 && (kill(process, 0) == 0 || errno == EPERM)) {
        entry.exists = true;
        double const start = startOf(process);
        entry.started = start >= 0 ? d_boot + start : 0;
    }
    return entry;
}

bool ProcessTable::isAlive(pid_t process, std::time_t made) {
    constexpr double tolerance = 1.5; // times of segments are in whole seconds
    Entry const& found = entry(process);
    return found.exists && found.started <= static_cast<double>(made) + tolerance;
}

std::string const& ProcessTable::command(pid_t process) {
    Entry& found = entry(process);
    if (found.exists && !found.named)
        found.command = commandOf(process);
    found.named = true;
    return found.command;
}

} // namespace qztool
