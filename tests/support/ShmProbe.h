// A shared signal whose inner state a test can see.
#pragma once

#include "qzsignal/shm/ShmSignal.h"

class ShmProbe : public ShmSignal {
public:
    using ShmSignal::ShmSignal;

    using ShmSignal::d_bytes;
    using ShmSignal::d_data;
    using ShmSignal::d_key;
    using ShmSignal::d_localData;
    using ShmSignal::d_lsbBit;
    using ShmSignal::d_maksBits;
    using ShmSignal::d_modified;
    using ShmSignal::d_owner;
    using ShmSignal::d_rawMask;
    using ShmSignal::d_shared;
    using ShmSignal::d_shift;
    using ShmSignal::d_shmId;
    using ShmSignal::d_signBit;
    using ShmSignal::d_startByte;
    using ShmSignal::d_valid;
    using ShmSignal::d_waiting;
    using ShmSignal::lock;
    using ShmSignal::messageId;
    using ShmSignal::signal;
    using ShmSignal::tryLock;
    using ShmSignal::unlock;
};

// A definition of a signal in a frame of one's own: little endian, at bit 0, scale 1.
inline baseSignalDef_t plainDefinition(std::string const& instance, unsigned bits = 16) {
    baseSignalDef_t definition;
    definition.instance = instance;
    definition.signal = "Plain";
    definition.bits = static_cast<std::uint8_t>(bits);
    definition.scale = 1;
    return definition;
}

// A two-byte big-endian payload as raw word: what most tests write.
inline unsigned long long word(std::uint8_t first, std::uint8_t second = 0) {
    return static_cast<unsigned long long>(first) << 56 | static_cast<unsigned long long>(second) << 48;
}
