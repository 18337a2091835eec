// Looking up what is filed under a frame's key, compared with the ordered map alone.
#include "benchmarks/support/Keep.h"
#include "benchmarks/support/NumberedSignals.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using qzbench::Record;

// Frames that are filed, and as many that are not. No signal is filed under them, so that only the look-up takes time.
class FiledFrames {
public:
    explicit FiledFrames(std::size_t count) {
        for (canSignalDef_t const& definition : qzbench::numberedDefinitions(count, 1)) {
            d_filed.push_back(definition.msgId);
            CANSignalExt::canMessageContainer[keyOf(definition.msgId)];
        }
    }
    ~FiledFrames() { CANSignalExt::canMessageContainer.clear(); }
    FiledFrames(FiledFrames const&) = delete;
    FiledFrames& operator=(FiledFrames const&) = delete;

    static unsigned long long keyOf(std::uint32_t identifier) {
        return 0x8000000080000000 + identifier; // extended, channel 0
    }

    // Identifiers in random order, so many that no processor learns it.
    std::vector<std::uint32_t> drawn(bool filed) const {
        std::mt19937 random(2015);
        std::vector<std::uint32_t> result(1 << 16);
        for (std::uint32_t& identifier : result)
            identifier = d_filed[random() % d_filed.size()] + (filed ? 0 : 1);
        return result;
    }

private:
    std::vector<std::uint32_t> d_filed;
};

// Frames come in one buffer, as from a bus, so that the look-up is measured and not the fetching of thousands of frames
// from memory.
template <typename LookUp>
void lookUp(benchmark::State& state, std::vector<std::uint32_t> const& identifiers, LookUp lookUp) {
    for (auto _ : state)
        for (std::uint32_t const identifier : identifiers)
            benchmark::DoNotOptimize(lookUp(identifier));
    qzbench::perEach(state, "frame", identifiers.size());
}

std::size_t count(benchmark::State const& state) {
    return static_cast<std::size_t>(state.range(0));
}

void signalsInUse(benchmark::State& state, bool filed) {
    FiledFrames const frames(count(state));
    Record record{};
    lookUp(state, frames.drawn(filed), [&record](std::uint32_t identifier) {
        qzbench::setIdentifier(record, identifier);
        return CANSignalExt::signalsInUse(record.data(), record.data() + record.size());
    });
}
BENCHMARK_CAPTURE(signalsInUse, hit, true)->Name("look-up/signalsInUse/hit")->Arg(50)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(signalsInUse, miss, false)->Name("look-up/signalsInUse/miss")->Arg(50)->Arg(1000)->Arg(10000);

void decodeMessage(benchmark::State& state, bool filed) {
    FiledFrames const frames(count(state));
    CANExtTraceMessage message = qzbench::frameOf(canSignalDef_t());
    lookUp(state, frames.drawn(filed), [&message](std::uint32_t identifier) {
        message.identifier = identifier;
        return CANSignalExt::decodeMessage(message);
    });
}
BENCHMARK_CAPTURE(decodeMessage, hit, true)->Name("look-up/decodeMessage/hit")->Arg(50)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(decodeMessage, miss, false)->Name("look-up/decodeMessage/miss")->Arg(50)->Arg(1000)->Arg(10000);

// The yardstick: the same map without an index.
void mapFind(benchmark::State& state, bool filed) {
    FiledFrames const frames(count(state));
    qzsignal::DispatchMap<CANSignalExt>::Entries const map = CANSignalExt::canMessageContainer;
    lookUp(state, frames.drawn(filed),
           [&map](std::uint32_t identifier) { return map.find(FiledFrames::keyOf(identifier)); });
}
BENCHMARK_CAPTURE(mapFind, hit, true)->Name("look-up/map/hit")->Arg(50)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(mapFind, miss, false)->Name("look-up/map/miss")->Arg(50)->Arg(1000)->Arg(10000);

} // namespace
