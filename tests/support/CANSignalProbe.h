// A self-contained CAN signal whose inner state a test can see.
#pragma once

#include "qzsignal/can/CANSignal.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

class CANSignalProbe : public CANSignal {
public:
    using CANSignal::CANSignal;

    using CANSignal::d_bytes;
    using CANSignal::d_data;
    using CANSignal::d_key;
    using CANSignal::d_localData;
    using CANSignal::d_lsbBit;
    using CANSignal::d_maksBits;
    using CANSignal::d_modified;
    using CANSignal::d_owner;
    using CANSignal::d_rawMask;
    using CANSignal::d_shared;
    using CANSignal::d_shift;
    using CANSignal::d_shmId;
    using CANSignal::d_signBit;
    using CANSignal::d_startByte;
    using CANSignal::d_valid;
    using CANSignal::d_waiting;
    using CANSignal::messageId;
    using CANSignal::signal;
    using CANSignal::tryLock;

    qzsignal::canSignalData_t& record() { return *d_data; }
    bool attached() const { return !d_waiting; }

    // Moves the signal to other bits.
    void place(unsigned startBit, unsigned bits, bool bigEndian) {
        d_data->startbit = static_cast<std::uint8_t>(startBit);
        d_data->bits = static_cast<std::uint8_t>(bits);
        d_data->endian = bigEndian;
        cInit();
    }

    // What the signal returned; `d_there` false: no value.
    struct Reading {
        bool d_there = false;
        unsigned long long d_timestamp = 17;
        unsigned long long d_raw = 18;
        double d_phys = 19.0;
    };
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

// A little-endian signal of bus 1, identifier 0x123, at bit 0, scale 1.
inline canSignal_t canDefinition(std::string const& name, int bits = 16) {
    canSignal_t definition;
    definition.bus = 1;
    definition.id = 0x123;
    definition.name = name;
    definition.bits = bits;
    definition.scale = 1;
    return definition;
}

// The signals of a bus and identifier in the table.
inline std::vector<CANSignal*>& tableEntry(std::size_t bus, std::size_t id) {
    return CANSignal::canMessageVector.at(bus * 2048 + id);
}

// True if no signal is in the table.
inline bool tableIsEmpty() {
    auto const& table = CANSignal::canMessageVector;
    return table.size() == 32768 &&
           std::all_of(table.begin(), table.end(), [](auto const& entry) { return entry.empty(); });
}

// The print form that the record leads to.
inline std::string canDescription(CANSignalProbe const& signal) {
    qzsignal::canSignalData_t const& data = *signal.d_data;
    char numbers[40];
    std::snprintf(numbers, sizeof numbers, "%016llx", static_cast<unsigned long long>(data.value));
    std::ostringstream out;
    out << "[DEBUG] " << data.name << " shmem=" << signal.d_shared << ",used=" << int{data.used}
        << ",bus=" << int{data.bus} << ",id=" << data.id << ",unit=" << data.unit << ",type="
        << (data.type == 0   ? "unsigned"
            : data.type == 1 ? "signed"
            : data.type == 2 ? "float"
            : data.type == 3 ? "double"
                             : "")
        << ",startbit=" << int{data.startbit} << ",bits=" << int{data.bits} << ",scale=" << data.scale
        << ",offset=" << data.offset << ",endian=" << (data.endian != 0 ? "BIG" : "LITTLE") << ",value=" << numbers;
    std::snprintf(numbers, sizeof numbers, "%016llx", static_cast<unsigned long long>(data.timestamp));
    out << ",timestamp=" << numbers << ",addr=" << static_cast<void const*>(&data);
    return out.str();
}
