// What is done with all signals of the process at once.
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/NumberedSignals.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

namespace {

using qzbench::Definitions;
using qzbench::Signals;

// Local signals, each with a value.
Signals writtenSignals(std::size_t count) {
    Definitions const all = qzbench::numberedDefinitions(count, 5);
    Signals signals = qzbench::defined(all);
    for (canSignalDef_t const& definition : all)
        CANSignalExt::decodeMessage(qzbench::frameOf(definition));
    return signals;
}

// None of the signals is too old.
void checkTimeout(benchmark::State& state) {
    Signals const signals = writtenSignals(static_cast<std::size_t>(state.range(0)));
    std::vector<unsigned long long> silent;
    for (auto _ : state) {
        BaseSignal::checkTimeout(1, silent);
        benchmark::DoNotOptimize(silent.data());
    }
    qzbench::perEach(state, "signal", signals.size());
}
BENCHMARK(checkTimeout)->Name("checkTimeout")->Arg(10000);

// The yardstick: one raw read for each signal, in the same order, which is that of the names.
void rawRead(benchmark::State& state) {
    Signals const signals = writtenSignals(static_cast<std::size_t>(state.range(0)));
    std::vector<BaseSignal*> ordered;
    for (auto const& entry : BaseSignal::instances)
        ordered.push_back(entry.second);
    unsigned long long value = 0;
    unsigned long long timestamp = 0;
    for (auto _ : state) {
        for (BaseSignal* const signal : ordered) {
            signal->read(value, timestamp);
            benchmark::DoNotOptimize(timestamp);
        }
    }
    qzbench::perEach(state, "signal", ordered.size());
}
BENCHMARK(rawRead)->Name("yardstick/raw-read")->Arg(10000);

} // namespace
