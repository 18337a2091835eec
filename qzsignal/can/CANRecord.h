// What is done to the record of a `CANSignal`, wherever it is: without its lock, which the caller holds, and without
// debug output. Each of these may be interrupted for good at any instruction; `settle` then puts the record in order.
// `Layout` is `BitLayout`, or what a signal keeps of it.
#pragma once

#include "qzsignal/can/CANSignal.h"
#include "qzsignal/shm/RecordMark.h"
#include "qzsignal/shm/SharedSegment.h"
#include "qzsignal/signal/BitLayout.h"

#include <cstdint>
#include <string>

namespace qzsignal {

// Deliberate: others than its creator's user may look at the segment and no more, so they cannot attach to it.
constexpr RecordFamily canFamily = {"CANSignal", sizeof(canSignalData_t), 0644};

inline RecordFamily const& familyOf(canSignalData_t const&) {
    return canFamily;
}

// Writes all but the size and the mark: the definition, and the patterns of a record that was never written.
void fill(canSignalData_t& record, canSignal_t const& definition);

BitLayout layoutOf(canSignalData_t const& record);

// The raw value in a payload; of a signed signal sign-extended.
template <typename Layout>
std::uint64_t decoded(canSignalData_t const& record, Layout const& layout, std::uint64_t payload) {
    return layout.value(payload, byteOrder(record.endian != 0), record.type == canSigned);
}

// Sets `phys` to the physical value of a raw value; leaves it as it is if the record's type has none.
void convert(canSignalData_t const& record, std::uint64_t raw, double& phys);

// Keeps the value that a record has before it is stored over.
inline void putAside(canSignalData_t& record, std::uint64_t value) {
    record.lastValueTop = static_cast<std::uint8_t>(value >> 56);
    for (unsigned i = 0; i < sizeof record.lastValue; ++i)
        record.lastValue[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// Stores the bits of `layout` in a payload, and the timestamp, if they differ from those in the record. True if they
// did.
template <typename Layout>
bool update(canSignalData_t& record, Layout const& layout, std::uint64_t payload, std::uint64_t timestamp) {
    std::uint64_t const value = layout.own(payload);
    // Deliberate: a first value that looks like the pattern of an unwritten record is no change either.
    if (record.value == value)
        return false;
    std::uint8_t const before = record.pending;
    putAside(record, record.value);
    setMark(record.pending, storingMark(record.timestamp, timestamp));
    record.value = value;
    keepOrder();
    storeWhole(record.timestamp, timestamp);
    setMark(record.pending, recordStored);
    record.used = 1;
    setMark(record.pending, markAfter(before));
    return true;
}

// Puts a record in order whose last owner died, or a copy of one that is being changed: a store that it had begun is
// completed or leaves no trace.
void settle(canSignalData_t& record);

// The description as labels and values, with another address than the record's own.
std::string describe(canSignalData_t const& record, bool shared, void const* address);

} // namespace qzsignal
