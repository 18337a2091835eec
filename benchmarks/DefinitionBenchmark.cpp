// From definitions to shared signals, and from a definition file to definitions.
#include "benchmarks/support/Drive.h"
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/NumberedSignals.h"
#include "tools/base/TextFile.h"
#include "tools/definitions/dbc/DbcReader.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <malloc.h>
#include <memory>
#include <string>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using qzbench::Definitions;

std::string pathOf(canSignalDef_t const& definition) {
    return "/tmp/" + definition.instance;
}

// Definitions of shared signals that no other process has. Their key files exist, as after the first start of a device:
// creating a file takes longer than all the rest.
Definitions sharedDefinitions(std::size_t count) {
    Definitions all = qzbench::numberedDefinitions(count, 5);
    for (std::size_t i = 0; i < count; ++i)
        all[i].instance = "qzbench_" + std::to_string(getpid()) + "_" + std::to_string(i);
    for (canSignalDef_t const& definition : all)
        close(open(pathOf(definition).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    return all;
}

void removeKeyFiles(Definitions const& all) {
    for (canSignalDef_t const& definition : all)
        std::remove(pathOf(definition).c_str());
}

// Heap memory of a local signal, including its entry in the registry and its place in its frame.
void heapPerSignal(benchmark::State& state) {
    std::size_t const count = qzbench::drive().definitions.size();
    std::size_t taken = 0;
    for (auto _ : state) {
        qzbench::Signals signals;
        signals.reserve(count);
        std::size_t const before = mallinfo2().uordblks;
        for (canSignalDef_t const& definition : qzbench::drive().definitions)
            signals.push_back(std::make_unique<CANSignalExt>(definition, false));
        taken = mallinfo2().uordblks - before;
    }
    state.counters["bytes"] = static_cast<double>(taken) / static_cast<double>(count);
}
BENCHMARK(heapPerSignal)->Name("memory/local");

void defineShared(benchmark::State& state) {
    Definitions const all = sharedDefinitions(static_cast<std::size_t>(state.range(0)));
    qzbench::Signals signals;
    for (auto _ : state) {
        for (canSignalDef_t const& definition : all)
            signals.push_back(std::make_unique<CANSignalExt>(definition, true));
        signals.clear();
    }
    removeKeyFiles(all);
    qzbench::perEach(state, "signal", all.size());
}
BENCHMARK(defineShared)->Name("define/shared")->Arg(4000)->Unit(benchmark::kMillisecond);

// The yardstick: only the eight system calls that a shared signal needs, as strace counts them: open its key file,
// check and close it; get its key; get, attach, detach and remove a segment. And the first access to the segment, for
// which the system allocates a page.
void systemCalls(benchmark::State& state) {
    Definitions const all = sharedDefinitions(static_cast<std::size_t>(state.range(0)));
    std::vector<std::string> paths;
    for (canSignalDef_t const& definition : all)
        paths.push_back(pathOf(definition));
    struct Segment {
        int d_id;
        void* d_address;
    };
    std::vector<Segment> segments;
    segments.reserve(paths.size());
    for (auto _ : state) {
        for (std::string const& path : paths) {
            int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
            struct stat status {};
            fstat(file, &status);
            close(file);
            int const id = shmget(ftok(path.c_str(), 'f'), sizeof(shmSignalData_t), IPC_CREAT | 0666);
            void* const address = shmat(id, nullptr, 0);
            if (address == reinterpret_cast<void*>(-1)) {
                state.SkipWithError("no segment");
                break;
            }
            *static_cast<char volatile*>(address) = 1;
            segments.push_back({id, address});
        }
        for (Segment const& segment : segments) {
            shmdt(segment.d_address);
            shmctl(segment.d_id, IPC_RMID, nullptr);
        }
        segments.clear();
    }
    removeKeyFiles(all);
    qzbench::perEach(state, "signal", paths.size());
}
BENCHMARK(systemCalls)->Name("yardstick/system-calls")->Arg(4000)->Unit(benchmark::kMillisecond);

// The whole definition file of the drive.
void loadDefinitions(benchmark::State& state) {
    for (auto _ : state) {
        std::string text;
        qztool::readTextFile(qzbench::definitionFile(), text);
        benchmark::DoNotOptimize(qztool::readDatabase(text).messages.data());
    }
    qzbench::perEach(state, "time", 1);
}
BENCHMARK(loadDefinitions)->Name("load/definitions")->Unit(benchmark::kMillisecond);

} // namespace
