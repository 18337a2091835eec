// FlexRay definitions, frames and records for tests.
#pragma once

#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

// A signal in the first payload byte.
inline flexRaySignalDef_t flexRayDefinition(std::string const& instance, std::uint8_t channel, std::uint16_t slot,
                                            std::uint8_t baseCycle, std::uint8_t repetition) {
    flexRaySignalDef_t result;
    result.instance = instance;
    result.signal = "Field";
    result.channel = channel;
    result.bits = 8;
    result.scale = 1;
    result.slot = slot;
    result.baseCycle = baseCycle;
    result.repetition = repetition;
    return result;
}

inline FlexRayExtTraceMessage flexRayFrame(std::uint8_t channel, std::uint8_t cycle, std::uint16_t slot,
                                           std::vector<unsigned char> payload = {0x12, 0x34}) {
    FlexRayExtTraceMessage message;
    message.timestamp = 1000;
    message.channel = channel;
    message.cycle = cycle;
    message.slot = slot;
    message.payload = std::move(payload);
    return message;
}

using FlexRayRecord = std::array<unsigned char, 25>;

// A serialized record. What is not read is filled with garbage.
inline FlexRayRecord flexRayRecord(std::uint8_t channel, std::uint8_t cycle, std::uint16_t slot) {
    FlexRayRecord bytes;
    bytes.fill(0xa5);
    bytes[15] = channel;
    bytes[19] = static_cast<unsigned char>(slot >> 8);
    bytes[20] = static_cast<unsigned char>(slot);
    bytes[24] = cycle;
    return bytes;
}
