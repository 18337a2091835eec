// What messages and serialized records say about inputs; the same for both kinds of input signals.
#pragma once

#include "qzsignal/input/InputTable.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "qzsignal/trace/RawRecord.h"

#include <cstdint>

namespace qzsignal {

// An input and the value that it took.
struct InputEvent {
    Input d_input;
    std::uint64_t d_value; // numbers below zero as 64-bit two's complement
    std::uint64_t d_timestamp;
};

inline InputEvent eventOf(KeyboardMessage const& message) {
    return {{InputClass::Keyboard, message.keyCode, 0},
            static_cast<std::uint64_t>(std::int64_t{message.keyState}),
            message.timestamp};
}

// Only the first entry of a message counts; a message without any is one of input 0 with neither mask nor level.
inline InputEvent eventOf(GpioTraceMessage const& message) {
    GpioEntry const entry = message.entries.empty() ? GpioEntry() : message.entries.front();
    return {{InputClass::Digital, entry.input, entry.mask},
            static_cast<std::uint64_t>(entry.levels & entry.mask),
            message.timestamp};
}

// Only the first entry of a message counts; a message without any is the reading 0 of channel 0.
inline InputEvent eventOf(AnalogTraceMessage const& message) {
    AnalogEntry const entry = message.entries.empty() ? AnalogEntry() : message.entries.front();
    return {{InputClass::Analog, entry.channel, 0},
            static_cast<std::uint64_t>(std::int64_t{entry.reading}),
            message.timestamp};
}

// Writes the value into all signals that are filed under a key. Returns the key, or 0 if there are none.
template <typename Signal>
unsigned long long deliver(DispatchMap<Signal> const& map, std::uint64_t key, char const* label,
                           InputEvent const& event) {
    return deliver(map, key, label, [&event](BaseSignal& signal) { signal.write(event.d_value, event.d_timestamp); });
}

// The input that a record reports, its mask left out; of no class if the record is not one of inputs.
inline Input reportedInput(RawRecord const& record) {
    switch (record.type()) {
    case record::digitalType:
        if (record.byte(record::inputMark) == 1)
            return {InputClass::Digital, record.byte(record::channel), 0};
        break;
    case record::analogType:
        if (record.byte(record::inputMark) == 1)
            return {InputClass::Analog, record.byte(record::channel), 0};
        break;
    case record::keyboardType:
        // Deliberate: whatever key the record reports, it counts as one of key 7, "RC.F7". With one-byte record types,
        // no record is one of the keyboard.
        return {InputClass::Keyboard, 7, 0};
    }
    return {};
}

} // namespace qzsignal
