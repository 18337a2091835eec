// Reading through the library, like any other process.
#include "tools/machine/SignalReader.h"

#include "qzsignal/shm/ShmSignal.h"
#include "tools/base/ErrorCapture.h"
#include "tools/machine/SharedSignals.h"

#include <ctime>

namespace qztool {

namespace {

class Reader : public ShmSignal {
public:
    using ShmSignal::ShmSignal;

    bool isAttached() const { return !d_waiting; }
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

// Passes on what the library said while it attached, but for its warnings that there is nothing to attach to: the
// signal may come or go at any moment, and whoever asks learns that from the result.
void passOn(std::string const& messages) {
    std::istringstream lines(messages);
    for (std::string line; std::getline(lines, line);)
        if (line.find(": Waiting for ") == std::string::npos)
            std::cerr << line << std::endl;
}

bool attach(std::optional<Reader>& reader, std::string const& instance) {
    std::string messages;
    {
        ErrorCapture const capture;
        reader.emplace(instance.c_str());
        messages = capture.text();
    }
    passOn(messages);
    return reader->isAttached();
}

} // namespace

std::optional<SignalState> readSignal(std::string const& instance, OnLock onLock) {
    std::optional<Reader> reader;
    if (!segmentExists(instance) || !attach(reader, instance))
        return std::nullopt;
    SignalState state;
    state.instance = instance;
    state.signal = reader->signalName();
    state.unit = reader->getUnit();
    state.type = reader->getType();
    state.locked = !reader->open(onLock);
    if (!state.locked) {
        state.value = reader->value();
        reader->close();
    }
    return state;
}

} // namespace qztool
