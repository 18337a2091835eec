// Reading through the library, like any other process.
#include "tools/machine/SignalReader.h"

#include "qzsignal/can/CANSignal.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/Conversion.h"
#include "tools/base/ErrorCapture.h"
#include "tools/machine/SharedSignals.h"

#include <ctime>

namespace qztool {

namespace {

// Lock and unit, the same for both kinds of signals.
template <typename Signal>
class Reader : public Signal {
public:
    using Signal::Signal;

    bool isAttached() const { return !this->d_waiting; }
    // Not `getUnit`, which relies on the end that the writer of the record has to put.
    std::string unit() const { return std::string(qzsignal::textOf(this->d_data->unit)); }

    // Takes the lock; false if it gave up.
    bool open(OnLock onLock) {
        if (onLock == OnLock::Retry) {
            this->lock();
            return true;
        }
        constexpr timespec pause = {0, 1000000};
        for (int i = 0; i < 500; ++i) {
            if (this->tryLock())
                return true;
            nanosleep(&pause, nullptr);
        }
        return false;
    }
    void close() { this->unlock(); }
};

// `value`: raw and physical value and time of one and the same write. The lock is held.

class ShmReader : public Reader<ShmSignal> {
public:
    using Reader::Reader;

    std::string const& signalName() const { return signal; }
    signalValue_t type() const { return d_data->type; }
    std::optional<SignalValue> value() {
        if (d_data->used == 0)
            return std::nullopt;
        return SignalValue{convertedOnce(), d_data->value, d_data->timestamp};
    }
};

class CanReader : public Reader<CANSignal> {
public:
    using Reader::Reader;

    std::string const& signalName() const { return signal; }
    // Not `getType`, which calls every value unsigned. The numbers of both enumerations are the same.
    signalValue_t type() const { return static_cast<signalValue_t>(d_data->type); }
    std::optional<SignalValue> value() const {
        if (d_data->used == 0)
            return std::nullopt;
        SignalValue result{0, decode(d_data->value), d_data->timestamp};
        qzsignal::convert(result.raw, type(), d_data->scale, d_data->offset, result.physical);
        return result;
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

template <typename SomeReader>
std::optional<SignalState> readAs(std::string const& instance, OnLock onLock) {
    std::optional<SomeReader> reader;
    std::string messages;
    {
        ErrorCapture const capture;
        reader.emplace(instance.c_str());
        messages = capture.text();
    }
    passOn(messages);
    if (!reader->isAttached())
        return std::nullopt;
    SignalState state;
    state.instance = instance;
    state.signal = reader->signalName();
    state.unit = reader->unit();
    state.type = reader->type();
    state.locked = !reader->open(onLock);
    if (!state.locked) {
        state.value = reader->value();
        reader->close();
    }
    return state;
}

} // namespace

std::optional<SignalState> readSignal(std::string const& instance, OnLock onLock) {
    std::optional<RecordKind> const kind = recordKind(instance);
    if (!kind)
        return std::nullopt;
    return *kind == RecordKind::Shm ? readAs<ShmReader>(instance, onLock) : readAs<CanReader>(instance, onLock);
}

} // namespace qztool
