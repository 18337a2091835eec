// Reading through the library, like any other process.
#include "tools/machine/SignalReader.h"

#include "qzsignal/shm/ShmSignal.h"
#include "tools/machine/SharedSignals.h"

namespace qztool {

namespace {

class Reader : public ShmSignal {
public:
    using ShmSignal::ShmSignal;

    std::string const& signalName() const { return signal; }
};

// Raw and physical value are two accesses; a write may come between them. Tried again until both are of one write.
std::optional<SignalValue> readValue(Reader& reader) {
    constexpr int attempts = 1000;
    SignalValue result;
    for (int i = 0; i < attempts; ++i) {
        unsigned long long raw = 0, before = 0, rawAfter = 0, after = 0, timestamp = 0;
        double physical = 0;
        if (!reader.read(raw, before) || !reader.read(physical, timestamp) || !reader.read(rawAfter, after))
            return std::nullopt;
        result = {physical, raw, before};
        if (raw == rawAfter && before == after)
            break;
    }
    return result;
}

} // namespace

std::optional<SignalState> readSignal(std::string const& instance) {
    if (!segmentExists(instance))
        return std::nullopt;
    Reader reader(instance.c_str());
    if (!reader.smInit())
        return std::nullopt;
    SignalState state;
    state.instance = instance;
    state.signal = reader.signalName();
    state.unit = reader.getUnit();
    state.type = reader.getType();
    state.value = readValue(reader);
    return state;
}

} // namespace qztool
