// Messages and serialized records of inputs, as tests send them.
#pragma once

#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"

#include <array>

inline KeyboardMessage keyMessage(std::int32_t code, std::int32_t state, unsigned long long timestamp = 1000) {
    KeyboardMessage message;
    message.timestamp = timestamp;
    message.keyCode = code;
    message.keyState = state;
    return message;
}

inline GpioEntry gpioEntry(std::uint16_t input, std::uint16_t mask, std::uint16_t levels) {
    GpioEntry entry;
    entry.input = input;
    entry.mask = mask;
    entry.levels = levels;
    return entry;
}

inline GpioTraceMessage gpioMessage(std::uint16_t input, std::uint16_t mask, std::uint16_t levels,
                                    unsigned long long timestamp = 1000) {
    GpioTraceMessage message;
    message.timestamp = timestamp;
    message.entries.push_back(gpioEntry(input, mask, levels));
    return message;
}

inline AnalogEntry analogEntry(std::uint16_t channel, std::int32_t reading) {
    AnalogEntry entry;
    entry.channel = channel;
    entry.reading = reading;
    return entry;
}

inline AnalogTraceMessage analogMessage(std::uint16_t channel, std::int32_t reading,
                                        unsigned long long timestamp = 1000) {
    AnalogTraceMessage message;
    message.timestamp = timestamp;
    message.entries.push_back(analogEntry(channel, reading));
    return message;
}

using InputRecord = std::array<unsigned char, 18>;

// A serialized record of the version with two-byte types. What is not read is filled with garbage, the byte that holds
// a one-byte type included.
inline InputRecord inputRecord(std::uint16_t type, std::uint8_t number, std::uint8_t mask = 1, std::uint8_t mark = 1) {
    InputRecord bytes;
    bytes.fill(0xa5);
    bytes[2] = static_cast<unsigned char>(type >> 8);
    bytes[3] = static_cast<unsigned char>(type);
    bytes[14] = number;
    bytes[16] = mark;
    bytes[17] = mask;
    return bytes;
}

// The same of a version with one-byte types.
inline InputRecord shortTypeRecord(std::uint8_t type, std::uint8_t number, std::uint8_t mask = 1,
                                   std::uint8_t mark = 1) {
    InputRecord bytes = inputRecord(0xa5a5, number, mask, mark);
    bytes[0] = type;
    return bytes;
}
