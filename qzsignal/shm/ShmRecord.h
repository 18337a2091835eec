// What is done to the record of a `ShmSignal`, wherever it is: without its lock, which the caller holds, and without
// debug output. Each of these may be interrupted for good at any instruction; `settle` then puts the record in order.
// `Layout` is `BitLayout`, or what a signal keeps of it.
#pragma once

#include "qzsignal/shm/RecordMark.h"
#include "qzsignal/shm/SharedSegment.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/BitLayout.h"
#include "qzsignal/signal/Conversion.h"

#include <cstdint>
#include <iosfwd>

namespace qzsignal {

constexpr RecordFamily shmFamily = {"ShmSignal", sizeof(shmSignalData_t), 0666};

inline RecordFamily const& familyOf(shmSignalData_t const&) {
    return shmFamily;
}

// The templates that use these three declare them for themselves, since this kind of record is not in this namespace.
// NOLINTBEGIN(readability-redundant-declaration)

// Writes all but the size and the mark: the definition, and the patterns of a record that was never written.
void fill(shmSignalData_t& record, baseSignalDef_t const& definition);

BitLayout layoutOf(shmSignalData_t const& record);

// Puts a record in order whose last owner died, or a copy of one that is being changed: a store that it had begun is
// completed or leaves no trace, and what follows from other fields follows again.
void settle(shmSignalData_t& record);

// NOLINTEND(readability-redundant-declaration)

// What `rawValue` comes to. The record's order is not that of the layout if another process has defined the signal
// again since the layout was computed.
template <typename Layout>
std::uint64_t decoded(shmSignalData_t const& record, Layout const& layout) {
    return layout.value(record.rawValue, byteOrder(record.endian != 0), record.type == signalSigned);
}

// Stores a new value and its timestamp. A function by itself: most payloads change nothing, and need none of this.
template <typename Layout>
[[gnu::noinline]] void store(shmSignalData_t& record, Layout layout, std::uint64_t raw, std::uint64_t timestamp) {
    std::uint8_t const before = record.pending;
    setMark(record.pending, recordDeriving);
    record.value = record.rawValue; // the one that is put aside; `value` follows from `rawValue`
    setMark(record.pending, storingMark(record.timestamp, timestamp));
    record.rawValue = raw;
    keepOrder();
    storeWhole(record.timestamp, timestamp);
    setMark(record.pending, recordStored);
    record.used = 1;
    record.conv = 0;
    record.value = decoded(record, layout);
    setMark(record.pending, markAfter(before));
}

// Stores a payload if it differs in the bits of `layout`, and the timestamp in any case. True if it differed.
template <typename Layout>
[[gnu::always_inline]] inline bool update(shmSignalData_t& record, Layout layout, std::uint64_t raw,
                                          std::uint64_t timestamp) {
    bool const changed = record.used == 0 || layout.differs(raw, record.rawValue);
    if (changed)
        store(record, layout, raw, timestamp);
    else
        storeWhole(record.timestamp, timestamp);
    return changed;
}

// Computes `phys` unless that was done since the value changed. True if it computed it.
inline bool convertOnce(shmSignalData_t& record) {
    if (record.conv != 0)
        return false;
    std::uint8_t const before = record.pending;
    setMark(record.pending, recordDeriving);
    convert(record.value, record.type, record.scale, record.offset, record.phys);
    keepOrder();
    record.conv = 1;
    setMark(record.pending, markAfter(before));
    return true;
}

// Forgets the value.
void clear(shmSignalData_t& record);

// Writes the record as labels and values, with another timestamp and address than its own.
void describe(std::ostream& out, shmSignalData_t const& record, bool shared, std::uint64_t timestamp,
              void const* address);

} // namespace qzsignal
