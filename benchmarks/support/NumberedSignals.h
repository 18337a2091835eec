// Local signals in any number, for what depends on how many there are.
#pragma once

#include "benchmarks/support/Drive.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/RawRecord.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qzbench {

using Definitions = std::vector<canSignalDef_t>;

// Local signals of 8 bits each, `perFrame` (up to 8) to a frame. Frames have extended identifiers that are far apart,
// as there are too few standard ones for ten thousand frames.
inline Definitions numberedDefinitions(std::size_t count, std::size_t perFrame) {
    Definitions result(count);
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

inline Signals defined(Definitions const& definitions) {
    Signals signals;
    signals.reserve(definitions.size());
    for (canSignalDef_t const& definition : definitions)
        signals.push_back(std::make_unique<CANSignalExt>(definition, false));
    return signals;
}

// The frame that carries a signal.
inline CANExtTraceMessage frameOf(canSignalDef_t const& definition) {
    CANExtTraceMessage message;
    message.timestamp = 1000;
    message.identifier = definition.msgId;
    message.extended = 1;
    message.length = 8;
    return message;
}

using Record = std::array<unsigned char, qzsignal::record::canEnd>;

// The serialized record of such a frame, with an extended identifier.
inline void setIdentifier(Record& record, std::uint32_t identifier) {
    for (unsigned i = 0; i < 4; ++i)
        record[qzsignal::record::canIdentifier + i] =
            static_cast<unsigned char>((identifier | 0x80000000U) >> (24 - 8 * i));
}

// The frame that carries a signal.
inline Record recordOf(canSignalDef_t const& definition) {
    Record record{};
    setIdentifier(record, definition.msgId);
    return record;
}

} // namespace qzbench
