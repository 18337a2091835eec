// Reading through the library, like any other process.
#include "tools/machine/SignalReader.h"

#include "qzsignal/shm/ShmSignal.h"
#include "tools/machine/SharedSignals.h"

#include <ctime>

namespace qztool {

namespace {

class Reader : public ShmSignal {
public:
    using ShmSignal::ShmSignal;

    std::string const& signalName() const { return signal; }

    // Takes the lock; false if it gave up.
    bool open(OnLock onLock) {
        if (onLock == OnLock::Retry) {
            lock();
            return true;
        }
        constexpr timespec pause = {0, 1000000};
        for (int i = 0; i < 500; ++i) {
            if (tryLock())
                return true;
            nanosleep(&pause, nullptr);
        }
        return false;
    }
    void close() { unlock(); }

    // Raw and physical value and time of one and the same write. The lock is held.
    std::optional<SignalValue> value() {
        if (d_data->used == 0)
            return std::nullopt;
        return SignalValue{convertedOnce(), d_data->value, d_data->timestamp};
    }
};

} // namespace

std::optional<SignalState> readSignal(std::string const& instance, OnLock onLock) {
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
    state.locked = !reader.open(onLock);
    if (!state.locked) {
        state.value = reader.value();
        reader.close();
    }
    return state;
}

} // namespace qztool
