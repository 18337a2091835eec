// How costs grow with the number of signals that are defined.
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/NumberedSignals.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

namespace {

using qzbench::defined;
using qzbench::Definitions;
using qzbench::frameOf;
using qzbench::numberedDefinitions;
using qzbench::Record;
using qzbench::recordOf;
using qzbench::Signals;

// One frame of five signals, again and again; none of them changes.
void decode(benchmark::State& state) {
    Definitions const all = numberedDefinitions(static_cast<std::size_t>(state.range(0)), 5);
    Signals const signals = defined(all);
    CANExtTraceMessage const message = frameOf(all[all.size() / 2]);
    for (auto _ : state)
        benchmark::DoNotOptimize(CANSignalExt::decodeMessage(message));
    qzbench::perEach(state, "frame", 1);
}
BENCHMARK(decode)->Name("growth/decode")->RangeMultiplier(10)->Range(10, 10'000);

// Every frame is looked up in turn, in no particular order; each carries one signal.
void lookUp(benchmark::State& state) {
    Definitions const all = numberedDefinitions(static_cast<std::size_t>(state.range(0)), 1);
    Signals const signals = defined(all);
    std::vector<Record> records;
    for (canSignalDef_t const& definition : all)
        records.push_back(recordOf(definition));
    std::shuffle(records.begin(), records.end(), std::mt19937(2015));
    for (auto _ : state)
        for (Record const& record : records)
            benchmark::DoNotOptimize(CANSignalExt::signalsInUse(record.data(), record.data() + record.size()));
    qzbench::perEach(state, "frame", records.size());
}
BENCHMARK(lookUp)->Name("growth/look-up")->RangeMultiplier(10)->Range(10, 10'000);

void define(benchmark::State& state) {
    Definitions const all = numberedDefinitions(static_cast<std::size_t>(state.range(0)), 5);
    for (auto _ : state)
        benchmark::DoNotOptimize(defined(all).data());
    qzbench::perEach(state, "signal", all.size());
}
BENCHMARK(define)->Name("growth/define")->RangeMultiplier(10)->Range(10, 10'000);

// All of them, each with a value.
Signals written(Definitions const& all) {
    Signals signals = defined(all);
    for (canSignalDef_t const& definition : all)
        CANSignalExt::decodeMessage(frameOf(definition));
    return signals;
}

// None of the signals is too old.
void checkTimeout(benchmark::State& state) {
    Definitions const all = numberedDefinitions(static_cast<std::size_t>(state.range(0)), 5);
    Signals const signals = written(all);
    std::vector<unsigned long long> silent;
    for (auto _ : state) {
        BaseSignal::checkTimeout(1, silent);
        benchmark::DoNotOptimize(silent.data());
    }
    qzbench::perEach(state, "signal", all.size());
}
BENCHMARK(checkTimeout)->Name("growth/checkTimeout")->RangeMultiplier(10)->Range(10, 10'000);

// The yardstick of `checkTimeout`: a walk over the registry with one raw read of each signal.
void rawRead(benchmark::State& state) {
    Signals const signals = written(numberedDefinitions(static_cast<std::size_t>(state.range(0)), 5));
    unsigned long long value = 0;
    unsigned long long timestamp = 0;
    for (auto _ : state) {
        for (auto const& entry : BaseSignal::instances) {
            entry.second->read(value, timestamp);
            benchmark::DoNotOptimize(timestamp);
        }
    }
    qzbench::perEach(state, "signal", signals.size());
}
BENCHMARK(rawRead)->Name("yardstick/raw-read")->Arg(10000);

} // namespace
