// The cost of reading a signal's value.
#include "benchmarks/support/Drive.h"
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/LockedRecords.h"

#include <benchmark/benchmark.h>

#include <cstddef>

namespace {

using qzbench::LockedRecords;

// All signals of the drive, with values that were converted.
qzbench::Signals writtenSignals(bool shared) {
    qzbench::Signals signals = qzbench::defineAll(shared);
    for (CANExtTraceMessage const& frame : qzbench::drive().frames)
        CANSignalExt::decodeMessage(frame);
    double phys = 0.0;
    unsigned long long timestamp = 0;
    for (auto const& signal : signals)
        if (!signal->read(phys, timestamp))
            signal->write(0ULL, timestamp); // of a message that was never sent
    return signals;
}

// The yardstick of shared reading: one trylock and unlock around a load, in as many segments.
void lockedLoads(benchmark::State& state) {
    LockedRecords const records(qzbench::drive().definitions.size());
    for (auto _ : state)
        for (std::size_t i = 0; i < records.size(); ++i)
            benchmark::DoNotOptimize(records[i].load());
    qzbench::perEach(state, "signal", records.size());
}
BENCHMARK(lockedLoads)->Name("yardstick/lock-load");

template <typename Number>
void read(benchmark::State& state, Number number, bool shared) {
    qzbench::Signals const signals = writtenSignals(shared);
    unsigned long long timestamp = 0;
    for (auto _ : state) {
        for (auto const& signal : signals) {
            static_cast<BaseSignal&>(*signal).read(number, timestamp);
            benchmark::DoNotOptimize(number);
        }
    }
    qzbench::perEach(state, "signal", signals.size());
}
BENCHMARK_CAPTURE(read, local, 0.0, false)->Name("read/local");
BENCHMARK_CAPTURE(read, shared, 0.0, true)->Name("read/shared");
BENCHMARK_CAPTURE(read, localRaw, 0ULL, false)->Name("read/local/raw");
BENCHMARK_CAPTURE(read, sharedRaw, 0ULL, true)->Name("read/shared/raw");

} // namespace
