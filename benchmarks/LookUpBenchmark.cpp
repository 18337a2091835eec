// Finding what is filed under a frame's key, beside the ordered map alone.
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/NumberedSignals.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <vector>

namespace {

using qzbench::Definitions;
using qzbench::frameOf;
using qzbench::Record;
using qzbench::recordOf;

// Frames that are filed, and as many that are not. No signal is filed under them, so that looking them up is all that
// is done.
class FiledFrames {
public:
    explicit FiledFrames(std::size_t count) : d_filed(qzbench::numberedDefinitions(count, 1)), d_others(d_filed) {
        for (canSignalDef_t const& definition : d_filed)
            CANSignalExt::canMessageContainer[keyOf(definition)];
        for (canSignalDef_t& definition : d_others)
            definition.msgId += 1;
    }
    ~FiledFrames() { CANSignalExt::canMessageContainer.clear(); }
    FiledFrames(FiledFrames const&) = delete;
    FiledFrames& operator=(FiledFrames const&) = delete;

    static unsigned long long keyOf(canSignalDef_t const& definition) {
        return 0x8000000080000000 + definition.msgId; // extended, channel 0
    }

    // What `make` makes of each of the frames.
    template <typename Make>
    auto all(bool filed, Make make) const {
        std::vector<decltype(make(d_filed.front()))> result;
        for (canSignalDef_t const& definition : filed ? d_filed : d_others)
            result.push_back(make(definition));
        return result;
    }

private:
    Definitions d_filed;
    Definitions d_others;
};

// Looks frames up that are drawn by chance, so many that no processor learns their order.
template <typename Frame, typename LookUp>
void lookUp(benchmark::State& state, std::vector<Frame> const& frames, LookUp lookUp) {
    std::mt19937 random(2015);
    std::vector<Frame const*> drawn(1 << 16);
    for (Frame const*& frame : drawn)
        frame = &frames[random() % frames.size()];
    for (auto _ : state)
        for (Frame const* const frame : drawn)
            benchmark::DoNotOptimize(lookUp(*frame));
    qzbench::perEach(state, "frame", drawn.size());
}

std::size_t count(benchmark::State const& state) {
    return static_cast<std::size_t>(state.range(0));
}

void signalsInUse(benchmark::State& state, bool filed) {
    FiledFrames const frames(count(state));
    lookUp(state, frames.all(filed, recordOf), [](Record const& record) {
        return CANSignalExt::signalsInUse(record.data(), record.data() + record.size());
    });
}
BENCHMARK_CAPTURE(signalsInUse, hit, true)->Name("look-up/signalsInUse/hit")->Arg(50)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(signalsInUse, miss, false)->Name("look-up/signalsInUse/miss")->Arg(50)->Arg(1000)->Arg(10000);

void decodeMessage(benchmark::State& state, bool filed) {
    FiledFrames const frames(count(state));
    lookUp(state, frames.all(filed, frameOf),
           [](CANExtTraceMessage const& message) { return CANSignalExt::decodeMessage(message); });
}
BENCHMARK_CAPTURE(decodeMessage, hit, true)->Name("look-up/decodeMessage/hit")->Arg(50)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(decodeMessage, miss, false)->Name("look-up/decodeMessage/miss")->Arg(50)->Arg(1000)->Arg(10000);

// The yardstick: the same map without an index.
void mapFind(benchmark::State& state, bool filed) {
    FiledFrames const frames(count(state));
    qzsignal::DispatchMap<CANSignalExt>::Entries const map = CANSignalExt::canMessageContainer;
    lookUp(state, frames.all(filed, FiledFrames::keyOf), [&map](unsigned long long key) { return map.find(key); });
}
BENCHMARK_CAPTURE(mapFind, hit, true)->Name("look-up/map/hit")->Arg(50)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(mapFind, miss, false)->Name("look-up/map/miss")->Arg(50)->Arg(1000)->Arg(10000);

} // namespace
