// Input events in messages and serialized records, the same for both kinds of input signals.
#pragma once

#include "qzsignal/input/InputTable.h"
#include "qzsignal/signal/Dispatch.h"
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "qzsignal/trace/RawRecord.h"

#include <cstdint>

namespace qzsignal {

// An input and its new value.
struct InputEvent {
    Input d_input;
    std::uint64_t d_value; // negative numbers as 64-bit two's complement
    std::uint64_t d_timestamp;
};

inline InputEvent eventOf(KeyboardMessage const& message) {
    return {{InputClass::Keyboard, message.keyCode, 0},
            static_cast<std::uint64_t>(std::int64_t{message.keyState}),
            message.timestamp};
}

// Only the first entry of a message counts; a message without entries reports input 0 with mask 0 and level 0.
inline InputEvent eventOf(GpioTraceMessage const& message) {
    GpioEntry const entry = message.entries.empty() ? GpioEntry() : message.entries.front();
    return {{InputClass::Digital, entry.input, entry.mask},
            static_cast<std::uint64_t>(entry.levels & entry.mask),
            message.timestamp};
}

// Only the first entry of a message counts; a message without entries reports a reading of 0 on channel 0.
inline InputEvent eventOf(AnalogTraceMessage const& message) {
    AnalogEntry const entry = message.entries.empty() ? AnalogEntry() : message.entries.front();
    return {{InputClass::Analog, entry.channel, 0},
            static_cast<std::uint64_t>(std::int64_t{entry.reading}),
            message.timestamp};
}

// Writes the value to all signals filed under a key. Returns the key, or 0 if there are none.
template <typename Signal>
unsigned long long deliver(DispatchMap<Signal> const& map, std::uint64_t key, char const* label,
                           InputEvent const& event) {
    return deliver(map, key, label, [&event](BaseSignal& signal) { signal.write(event.d_value, event.d_timestamp); });
}

// The input that a record reports, with mask 0; of class None if it is not an input record.
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
        // Deliberate: whatever key the record reports, it counts as a record of key 7, "RC.F7". A one-byte record type
        // never equals the keyboard's.
        return {InputClass::Keyboard, 7, 0};
    }
    return {};
}

} // namespace qzsignal
