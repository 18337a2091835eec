// A shared signal whose record and lock a test can reach.
#pragma once

#include "qzsignal/shm/ShmSignal.h"
#include "tests/support/SharedName.h"

#include <cstdint>
#include <string>

class TestSignal : public ShmSignal {
public:
    using ShmSignal::lock;
    using ShmSignal::ShmSignal;
    using ShmSignal::unlock;

    // Both at once of what the signal returned; `d_there` false: nothing.
    struct Reading {
        bool d_there = false;
        unsigned long long d_timestamp = 0;
        unsigned long long d_raw = 0;
        double d_phys = 0.0;
    };

    shmSignalData_t& record() { return *d_data; }
    std::string const& signalName() const { return signal; }
    bool attached() const { return !d_waiting; }

    Reading readRaw() {
        Reading reading;
        reading.d_there = read(reading.d_raw, reading.d_timestamp);
        return reading;
    }
    Reading readPhys() {
        Reading reading;
        reading.d_there = read(reading.d_phys, reading.d_timestamp);
        return reading;
    }
};

// A big-endian number in the first four payload bytes: raw word = value << 32; physical value = value / 2 - 1.
inline baseSignalDef_t wordDefinition(SharedName const& name) {
    baseSignalDef_t definition;
    definition.instance = name.name();
    definition.signal = "EngineSpeed";
    definition.unit = "rpm";
    definition.startbit = 7;
    definition.bits = 32;
    definition.scale = 0.5;
    definition.offset = -1.0;
    definition.endian = true;
    return definition;
}

inline unsigned long long wordPayload(std::uint32_t value) {
    return static_cast<unsigned long long>(value) << 32;
}

inline std::string keyWarning(SharedName const& name) {
    return "[WARNING] ShmSignal: " + name.name() + ": Waiting for key (" + name.path() + ")\n";
}
inline std::string segmentWarning(SharedName const& name) {
    return "[WARNING] ShmSignal: " + name.name() + ": Waiting for shared memory region id (" + name.path() + ")\n";
}
