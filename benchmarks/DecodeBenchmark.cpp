// The cost of a frame, from the message to the values of all its signals.
#include "benchmarks/support/Drive.h"
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/LockedRecords.h"
#include "benchmarks/support/TableDecoder.h"
#include "benchmarks/support/Traffic.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace {

using qzbench::LockedRecord;
using qzbench::LockedRecords;
using qzbench::TableDecoder;
using qzbench::Traffic;

// True if the table gives the same values as the library; otherwise it would measure something else.
bool agrees(TableDecoder const& decoder, Traffic const& traffic) {
    qzbench::Signals const signals = qzbench::defineAll(false);
    double phys = 0.0;
    unsigned long long timestamp = 0;
    for (CANExtTraceMessage const* const frame : traffic.order()) {
        std::vector<double> values;
        TableDecoder::decode(decoder.rowsOf(*frame), frame->payload, [&](double value) { values.push_back(value); });
        auto const& carried = CANSignalExt::canMessageContainer.at(CANSignalExt::decodeMessage(*frame));
        auto const isValue = [&](CANSignalExt* signal, double value) {
            return signal->read(phys, timestamp) && phys == value;
        };
        if (!std::equal(carried.begin(), carried.end(), values.begin(), values.end(), isValue))
            return false;
    }
    return true;
}

// The yardstick of decoding.
void tableDecode(benchmark::State& state) {
    Traffic const traffic(Traffic::Payloads::Unchanged);
    TableDecoder const decoder;
    if (!agrees(decoder, Traffic(Traffic::Payloads::Inverted)))
        return state.SkipWithError("the table's values are not those of the library");
    std::vector<std::pair<CANExtTraceMessage const*, TableDecoder::Rows>> frames;
    for (CANExtTraceMessage const* const frame : traffic.order())
        frames.emplace_back(frame, decoder.rowsOf(*frame));
    for (auto _ : state)
        for (auto const& [frame, rows] : frames)
            TableDecoder::decode(rows, frame->payload, qzbench::keep);
    qzbench::perEach(state, "frame", frames.size());
    qzbench::perEach(state, "signal", traffic.signals());
}
BENCHMARK(tableDecode)->Name("yardstick/decode");

// The yardstick of shared decoding: for each signal of a frame, one locked store into the signal's segment.
void lockedStores(benchmark::State& state) {
    Traffic const traffic(Traffic::Payloads::Unchanged);
    LockedRecords const records(qzbench::drive().definitions.size());
    std::map<std::uint32_t, std::vector<LockedRecord*>> carried; // by identifier
    for (std::size_t i = 0; i < records.size(); ++i)
        carried[qzbench::drive().definitions[i].msgId].push_back(&records[i]);
    std::vector<std::pair<CANExtTraceMessage const*, std::vector<LockedRecord*> const*>> frames;
    for (CANExtTraceMessage const* const frame : traffic.order())
        frames.emplace_back(frame, &carried.at(frame->identifier));
    for (auto _ : state)
        for (auto const& [frame, stored] : frames)
            for (LockedRecord* const record : *stored)
                record->store(frame->timestamp);
    qzbench::perEach(state, "frame", frames.size());
    qzbench::perEach(state, "signal", traffic.signals());
}
BENCHMARK(lockedStores)->Name("yardstick/lock");

void decode(benchmark::State& state, bool shared, Traffic::Payloads payloads) {
    Traffic const traffic(payloads);
    qzbench::Signals const signals = qzbench::defineAll(shared);
    for (auto _ : state)
        for (CANExtTraceMessage const* const frame : traffic.order())
            benchmark::DoNotOptimize(CANSignalExt::decodeMessage(*frame));
    qzbench::perEach(state, "frame", traffic.order().size());
    qzbench::perEach(state, "signal", traffic.signals());
}
BENCHMARK_CAPTURE(decode, unchanged, false, Traffic::Payloads::Unchanged)->Name("decode/local/unchanged");
BENCHMARK_CAPTURE(decode, changed, false, Traffic::Payloads::Inverted)->Name("decode/local/changed");
BENCHMARK_CAPTURE(decode, sharedUnchanged, true, Traffic::Payloads::Unchanged)->Name("decode/shared/unchanged");
BENCHMARK_CAPTURE(decode, sharedChanged, true, Traffic::Payloads::Inverted)->Name("decode/shared/changed");

// Every physical value is read after each frame that changes it.
void decodeAndRead(benchmark::State& state, bool shared) {
    Traffic const traffic(Traffic::Payloads::Inverted);
    qzbench::Signals const signals = qzbench::defineAll(shared);
    std::vector<std::pair<CANExtTraceMessage const*, std::vector<CANSignalExt*> const*>> frames;
    for (CANExtTraceMessage const* const frame : traffic.order())
        frames.emplace_back(frame, &CANSignalExt::canMessageContainer.at(CANSignalExt::decodeMessage(*frame)));
    double phys = 0.0;
    unsigned long long timestamp = 0;
    for (auto _ : state) {
        for (auto const& [frame, carried] : frames) {
            benchmark::DoNotOptimize(CANSignalExt::decodeMessage(*frame));
            for (BaseSignal* const signal : *carried) {
                signal->read(phys, timestamp);
                qzbench::keep(phys);
            }
        }
    }
    qzbench::perEach(state, "frame", frames.size());
    qzbench::perEach(state, "signal", traffic.signals());
}
BENCHMARK_CAPTURE(decodeAndRead, local, false)->Name("decode/local/changed-and-read");
BENCHMARK_CAPTURE(decodeAndRead, shared, true)->Name("decode/shared/changed-and-read");

} // namespace
