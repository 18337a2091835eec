// Throughput and waits on a shared record under contention: one process writes and others read, each as fast as it can,
// once through the library, whose lock is polled, and once with a plain mutex that blocks.
//
// Prints its results to standard output in the form of Google Benchmark's, one entry per round.
#include "benchmarks/support/LatencyHistogram.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/Conversion.h"
#include "tests/process/Shared.h"
#include "tests/support/SharedName.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using qzbench::LatencyHistogram;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr unsigned mostReaders = 3;
constexpr std::chrono::seconds patience(60); // until all processes have started

[[noreturn]] void stop(std::string const& problem) {
    std::cerr << "qzsignal_contention: " << problem << std::endl;
    std::exit(EXIT_FAILURE);
}

// A signal of 32 bits: the upper half of the raw word.
baseSignalDef_t definition(std::string const& name) {
    baseSignalDef_t definition;
    definition.instance = name;
    definition.startbit = 7;
    definition.bits = 32;
    definition.scale = 0.25;
    definition.offset = -40.0;
    definition.endian = true;
    return definition;
}

// The same signal in the same record, with the same work under another lock.
class BlockingSignal {
public:
    static void define(shmSignalData_t& record) {
        baseSignalDef_t const values = definition("");
        record.type = values.type;
        record.scale = values.scale;
        record.offset = values.offset;
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        if (pthread_mutex_init(&record.mutex, &attributes) != 0)
            stop("no mutex between processes");
        pthread_mutexattr_destroy(&attributes);
    }

    explicit BlockingSignal(shmSignalData_t& record) : d_record(record) {}

    bool read(double& phys, unsigned long long& timestamp) {
        pthread_mutex_lock(&d_record.mutex);
        bool const used = d_record.used != 0;
        if (used) {
            if (d_record.conv == 0) {
                qzsignal::convert(d_record.value, d_record.type, d_record.scale, d_record.offset, d_record.phys);
                d_record.conv = 1;
            }
            phys = d_record.phys;
            timestamp = d_record.timestamp;
        }
        pthread_mutex_unlock(&d_record.mutex);
        return used;
    }

    bool write(unsigned long long raw, unsigned long long timestamp) {
        pthread_mutex_lock(&d_record.mutex);
        if (d_record.used == 0 || (d_record.rawValue ^ raw) >> 32 != 0) {
            d_record.conv = 0;
            d_record.rawValue = raw;
            d_record.value = raw >> 32;
            d_record.used = 1;
        }
        d_record.timestamp = timestamp;
        pthread_mutex_unlock(&d_record.mutex);
        return true;
    }

private:
    shmSignalData_t& d_record;
};

// What one process has done.
struct Work {
    std::uint64_t d_calls;
    double d_sum; // of all values, so that none is optimised away
    LatencyHistogram d_times;
};

// What all processes of a round see.
struct Arena {
    SharedCounter d_ready; // processes that wait for the start
    SharedCounter d_started;
    SharedCounter d_stopped;
    std::array<Work, 1 + mostReaders> d_work; // the writer's first
};

// A file without a name that standard output of the processes goes to: the lock prints a line whenever it is busy.
class OutputFile {
public:
    OutputFile() {
        char const* const folder = std::getenv("TMPDIR");
        std::string path = std::string(folder != nullptr ? folder : "/tmp") + "/qzsignal_contention_XXXXXX";
        d_descriptor = mkostemp(path.data(), O_APPEND | O_CLOEXEC);
        if (d_descriptor < 0)
            stop(path + ": " + std::strerror(errno));
        unlink(path.c_str());
    }
    ~OutputFile() { close(d_descriptor); }
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    void becomeStandardOutput() const { dup2(d_descriptor, STDOUT_FILENO); }

    // Also empties it.
    std::uint64_t countLines() {
        std::uint64_t lines = 0;
        std::vector<char> block(1 << 16);
        ssize_t length = 0;
        for (off_t position = 0; (length = pread(d_descriptor, block.data(), block.size(), position)) > 0;
             position += length)
            lines += static_cast<std::uint64_t>(std::count(block.begin(), block.begin() + length, '\n'));
        if (ftruncate(d_descriptor, 0) != 0)
            stop(std::string("cannot empty the file of standard output: ") + std::strerror(errno));
        return lines;
    }

private:
    int d_descriptor;
};

std::uint64_t nanosecondsSince(Clock::time_point start) {
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(Clock::now() - start).count());
}

// Makes one call after the other until the arena stops.
template <typename Call>
void workIn(Arena& arena, Work& work, bool timed, Call call) {
    ++arena.d_ready;
    while (arena.d_started == 0)
        sched_yield();
    std::uint64_t calls = 0;
    double sum = 0.0;
    do {
        if (timed) {
            Clock::time_point const start = Clock::now();
            sum += call(calls);
            work.d_times.note(nanosecondsSince(start));
        } else {
            sum += call(calls);
        }
        ++calls;
    } while (arena.d_stopped.load(std::memory_order_relaxed) == 0);
    work.d_calls = calls;
    work.d_sum = sum;
}

template <typename Signal>
void writeIn(Arena& arena, bool timed, Signal& signal) {
    workIn(arena, arena.d_work[0], timed,
           [&signal](std::uint64_t number) { return signal.write((number + 1) << 32, number) ? 1.0 : 0.0; });
}

template <typename Signal>
void readIn(Arena& arena, Work& work, bool timed, Signal& signal) {
    workIn(arena, work, timed, [&signal](std::uint64_t) {
        double phys = 0.0;
        unsigned long long timestamp = 0;
        signal.read(phys, timestamp);
        return phys;
    });
}

// Binds the process to a core of its own, as far as there are enough, and otherwise in turn. Without that, the system
// sometimes keeps all of them on one core, where they wait for the core and hardly ever for a lock.
void takeProcessor(std::size_t number) {
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return;
    number %= static_cast<std::size_t>(CPU_COUNT(&allowed));
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
        if (!CPU_ISSET(i, &allowed) || number-- != 0)
            continue;
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(i, &one);
        sched_setaffinity(0, sizeof one, &one);
        return;
    }
}

template <typename Task>
pid_t startProcess(OutputFile const& output, std::size_t number, Task task) {
    pid_t const process = fork();
    if (process < 0)
        stop(std::string("fork: ") + std::strerror(errno));
    if (process != 0)
        return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    takeProcessor(number);
    output.becomeStandardOutput();
    BaseSignal::instances.clear(); // the parent's signal is not this process's
    task();
    _exit(EXIT_SUCCESS);
}

// Has a writer and `readers` readers work for `duration`; `open` gives each of them its signal.
template <typename Open>
void runProcesses(Arena& arena, OutputFile const& output, unsigned readers, bool timed, Seconds duration, Open open) {
    std::vector<pid_t> processes;
    processes.push_back(startProcess(output, 0, [&] {
        auto const signal = open();
        writeIn(arena, timed, *signal);
    }));
    for (unsigned i = 1; i <= readers; ++i)
        processes.push_back(startProcess(output, i, [&, i] {
            auto const signal = open();
            readIn(arena, arena.d_work[i], timed, *signal);
        }));
    for (Clock::time_point const start = Clock::now(); arena.d_ready != processes.size();) {
        if (Clock::now() - start > patience)
            stop("a process did not come to its start");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    arena.d_started = 1;
    std::this_thread::sleep_for(duration);
    arena.d_stopped = 1;
    for (pid_t const process : processes) {
        int status = 0;
        if (waitpid(process, &status, 0) != process || status != 0)
            stop("a process did not come to its end");
    }
}

void addTimes(nlohmann::json& entry, std::string const& what, LatencyHistogram const& times) {
    auto const seconds = [](std::uint64_t nanoseconds) { return static_cast<double>(nanoseconds) * 1e-9; };
    entry[what + "_p50"] = seconds(times.quantile(0.5));
    entry[what + "_p99"] = seconds(times.quantile(0.99));
    entry[what + "_p99.9"] = seconds(times.quantile(0.999));
    entry[what + "_max"] = seconds(times.largest());
}

// One round: throughput without a clock in the way, then the same once more with each call timed.
template <typename Open>
nlohmann::json round(std::string const& lock, unsigned readers, Seconds duration, Open open) {
    nlohmann::json entry;
    entry["run_name"] = "contention/" + lock + "/" + std::to_string(readers);
    entry["run_type"] = "iteration";
    OutputFile output;
    {
        Shared<Arena> arena;
        runProcesses(*arena, output, readers, false, duration, open);
        std::uint64_t reads = 0;
        for (unsigned i = 1; i <= readers; ++i)
            reads += arena->d_work[i].d_calls;
        entry["writes_per_second"] = static_cast<double>(arena->d_work[0].d_calls) / duration.count();
        entry["reads_per_second"] = static_cast<double>(reads) / duration.count();
        entry["lines_per_second"] = static_cast<double>(output.countLines()) / duration.count();
    }
    {
        Shared<Arena> arena;
        runProcesses(*arena, output, readers, true, duration, open);
        LatencyHistogram reads;
        for (unsigned i = 1; i <= readers; ++i)
            reads.add(arena->d_work[i].d_times);
        addTimes(entry, "write", arena->d_work[0].d_times);
        addTimes(entry, "read", reads);
    }
    return entry;
}

// The time that reading the clock adds to each time: that of a call that does nothing.
nlohmann::json clockEntry() {
    LatencyHistogram times;
    for (int i = 0; i < 1'000'000; ++i) {
        Clock::time_point const start = Clock::now();
        times.note(nanosecondsSince(start));
    }
    nlohmann::json entry;
    entry["run_name"] = "contention/clock";
    entry["run_type"] = "iteration";
    addTimes(entry, "empty", times);
    return entry;
}

// The number in an argument, at least `least`.
double number(char const* text, double least) {
    char* end = nullptr;
    double const value = std::strtod(text, &end);
    if (end == text || *end != '\0' || !(value >= least && value <= 1000))
        stop(std::string("not a number for that: ") + text);
    return value;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 3)
        stop("usage: qzsignal_contention [SECONDS [ROUNDS]]");
    Seconds const duration(argc > 1 ? number(argv[1], 0.001) : 1.0);
    int const rounds = argc > 2 ? static_cast<int>(number(argv[2], 1)) : 5;

    SharedName const name("contention");
    ShmSignal const signal(definition(name.name()), true);
    Shared<shmSignalData_t> record;
    BlockingSignal::define(*record);

    nlohmann::json entries = nlohmann::json::array();
    for (int i = 0; i < rounds; ++i) {
        entries.push_back(clockEntry());
        for (unsigned readers = 1; readers <= mostReaders; ++readers) {
            entries.push_back(
                round("polled", readers, duration, [&name] { return std::make_unique<ShmSignal>(name.c_str()); }));
            entries.push_back(
                round("blocking", readers, duration, [&record] { return std::make_unique<BlockingSignal>(*record); }));
        }
    }
    std::cout << nlohmann::json{{"benchmarks", entries}}.dump(1) << std::endl;
}
