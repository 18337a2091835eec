// How costs grow with the number of signals that are defined.
#include "benchmarks/support/Keep.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/RawRecord.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Definitions = std::vector<canSignalDef_t>;

// Local signals of 8 bits each, `perFrame` (up to 8) to a frame. Frames have extended identifiers, far apart from each
// other, as ten thousand of them would find no room among the others.
Definitions definitions(benchmark::State const& state, std::size_t perFrame) {
    Definitions result(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < result.size(); ++i) {
        result[i].instance = "Growth." + std::to_string(i);
        result[i].startbit = static_cast<std::uint16_t>(i % perFrame * 8);
        result[i].bits = 8;
        result[i].scale = 0.5;
        result[i].msgId = static_cast<std::uint32_t>(i / perFrame * 0x6121 + 0x100);
        result[i].extended = true;
    }
    return result;
}

using Signals = std::vector<std::unique_ptr<CANSignalExt>>;

Signals defined(Definitions const& definitions) {
    Signals signals;
    signals.reserve(definitions.size());
    for (canSignalDef_t const& definition : definitions)
        signals.push_back(std::make_unique<CANSignalExt>(definition, false));
    return signals;
}

// The frame that carries a signal.
CANExtTraceMessage frameOf(canSignalDef_t const& definition) {
    CANExtTraceMessage message;
    message.timestamp = 1000;
    message.identifier = definition.msgId;
    message.extended = 1;
    message.length = 8;
    return message;
}

using Record = std::array<unsigned char, qzsignal::record::canEnd>;

// The same frame before any message is made of it.
Record recordOf(canSignalDef_t const& definition) {
    Record record{};
    for (unsigned i = 0; i < 4; ++i)
        record[qzsignal::record::canIdentifier + i] =
            static_cast<unsigned char>((definition.msgId | 0x80000000U) >> (24 - 8 * i));
    return record;
}

// One frame of five signals, again and again; none of them changes.
void decode(benchmark::State& state) {
    Definitions const all = definitions(state, 5);
    Signals const signals = defined(all);
    CANExtTraceMessage const message = frameOf(all[all.size() / 2]);
    for (auto _ : state)
        benchmark::DoNotOptimize(CANSignalExt::decodeMessage(message));
    qzbench::perEach(state, "frame", 1);
}
BENCHMARK(decode)->Name("growth/decode")->RangeMultiplier(10)->Range(10, 10'000);

// Every frame is looked up in turn, in no order; each carries one signal.
void lookUp(benchmark::State& state) {
    Definitions const all = definitions(state, 1);
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
    Definitions const all = definitions(state, 5);
    for (auto _ : state)
        benchmark::DoNotOptimize(defined(all).data());
    qzbench::perEach(state, "signal", all.size());
}
BENCHMARK(define)->Name("growth/define")->RangeMultiplier(10)->Range(10, 10'000);

// Every signal has a value, and none is too old.
void checkTimeout(benchmark::State& state) {
    Definitions const all = definitions(state, 5);
    Signals const signals = defined(all);
    for (canSignalDef_t const& definition : all)
        CANSignalExt::decodeMessage(frameOf(definition));
    std::vector<unsigned long long> silent;
    for (auto _ : state) {
        BaseSignal::checkTimeout(1, silent);
        benchmark::DoNotOptimize(silent.data());
    }
    qzbench::perEach(state, "signal", all.size());
}
BENCHMARK(checkTimeout)->Name("growth/checkTimeout")->RangeMultiplier(10)->Range(10, 10'000);

} // namespace
