// The rarer of what is done to the record of a `ShmSignal`.
#include "qzsignal/shm/ShmRecord.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/signal/Printing.h"

#include <ostream>

namespace qzsignal {

void fill(shmSignalData_t& record, baseSignalDef_t const& definition) {
    record.conv = 0;
    copyText(record.signal, definition.signal);
    copyText(record.unit, definition.unit);
    record.type = definition.type;
    record.startbit = definition.startbit;
    record.bits = definition.bits;
    record.scale = definition.scale;
    record.offset = definition.offset;
    record.endian = definition.endian;
    record.rawValue = unwrittenValue;
    record.value = unwrittenValue;
    record.phys = static_cast<double>(unwrittenValue);
    record.timestamp = unwrittenTimestamp;
}

BitLayout layoutOf(shmSignalData_t const& record) {
    BitLayout layout;
    layout.set(record.startbit, record.bits, byteOrder(record.endian != 0));
    return layout;
}

namespace {

void forget(shmSignalData_t& record) {
    record.used = 0;
    keepOrder(); // a reader that takes the lock now finds no value, rather than part of one
    record.timestamp = 0;
    record.rawValue = 0;
    record.value = 0;
    record.phys = 0.0;
    record.conv = 0;
}

} // namespace

void clear(shmSignalData_t& record) {
    std::uint8_t const before = record.pending;
    setMark(record.pending, recordDeriving);
    forget(record);
    setMark(record.pending, markAfter(before));
}

void settle(shmSignalData_t& record) {
    std::uint8_t const before = record.pending;
    std::uint8_t mark = before;
    if (mark >= recordStoring) {
        mark = holdsLast(mark, record.timestamp) ? recordDeriving : recordStored;
        if (mark == recordDeriving)
            record.rawValue = record.value;
    } else if (isWhole(mark)) {
        // Nothing was under way, but the value may have been derived by a writer that knew another layout.
        if (record.used != 0 && decoded(record, layoutOf(record)) != record.value)
            record.conv = 0;
        mark = recordDeriving;
    }
    setMark(record.pending, mark);
    if (mark == recordStored) {
        record.used = 1;
        record.conv = 0;
    }
    if (record.used != 0)
        record.value = decoded(record, layoutOf(record));
    else if (record.rawValue == unwrittenValue)
        record.value = unwrittenValue;
    else
        forget(record);
    setMark(record.pending, markAfter(before));
}

void describe(std::ostream& out, shmSignalData_t const& record, bool shared, std::uint64_t timestamp,
              void const* address) {
    printForm(out, std::dec, textOf(record.signal), " shmem=", shared ? 1 : 0, ",used=", yesNo(record.used != 0),
              ",conv=", yesNo(record.conv != 0), ",unit=", textOf(record.unit), ",type=", record.type,
              ",startbit=", record.startbit, ",bits=", unsigned{record.bits}, ",scale=", record.scale,
              ",offset=", record.offset, ",endian=", endianName(record.endian != 0), ",rawValue=0x",
              Hex16{record.rawValue}, ",value=0x", Hex16{record.value}, ",phys=", record.phys, ",timestamp=0x",
              std::hex, timestamp, ",addr=", address);
}

} // namespace qzsignal
